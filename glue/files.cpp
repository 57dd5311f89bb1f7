// The calls of the host's file and stream objects.
#include "glue/files.h"

namespace kova {

KOVAObject OpenAsBinaryFile(KOVAObject file, bool write) {
    return CallMethod<KOVAObject>(file, "OpenAsBinaryFile(write as Boolean) as BinaryStream",
                                  KOVABoolean{write ? 1 : 0});
}

int32_t StreamLength(KOVAObject stream) {
    int32_t length = 0;
    KOVAGetPropValueInt(stream, "length", &length);
    return length;
}

KOVAString ReadFromStream(KOVAObject stream, int32_t count) {
    constexpr KOVAObject NO_ENCODING = nullptr;
    return CallMethod<KOVAString>(stream, "Read(Count as Integer, enc as TextEncoding = nil) as String", count,
                                  NO_ENCODING);
}

void CloseObject(KOVAObject object) { CallMethod<void>(object, "Close()"); }

KOVAObject CreateTextFile(KOVAObject file) {
    return CallMethod<KOVAObject>(file, "CreateTextFile() as TextOutputStream");
}

void WriteTextAndClose(KOVAObject stream, KOVAString text) {
    using Write = void (*)(KOVAObject, KOVAString);
    auto write = reinterpret_cast<Write>(KOVALoadObjectMethod(stream, "Write(text as String)"));
    if (write == nullptr) return;
    write(stream, text);
    CloseObject(stream);
}

KOVAString NativePath(KOVAObject file) { return CallMethod<KOVAString>(file, "NativePath() As String"); }

FileText::FileText(KOVAObject file) : stream_(OpenAsBinaryFile(file, false)) {
    text_ = OwnedString(ReadFromStream(stream_.Get(), StreamLength(stream_.Get())));
    CloseObject(stream_.Get());
}

} // namespace kova
