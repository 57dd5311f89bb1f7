// Files, read and written through the host's file and stream objects. Nothing is tested for nil: what a host object
// lacks gives nil, 0 or nothing, and the callers go on with it.
#pragma once

#include "glue/objects.h"
#include "glue/strings.h"

namespace kova {

KOVAObject OpenAsBinaryFile(KOVAObject file, bool write);
int32_t StreamLength(KOVAObject stream);
KOVAString ReadFromStream(KOVAObject stream, int32_t count);
void CloseObject(KOVAObject object);
KOVAObject CreateTextFile(KOVAObject file);
// A stream without "Write" is left open.
void WriteTextAndClose(KOVAObject stream, KOVAString text);

// Where the file is; nil if its host does not tell. The caller owns it.
KOVAString NativePath(KOVAObject file);

// The whole file in one read, as a string of no encoding. Stream and text are released at the end of the scope.
class FileText {
public:
    explicit FileText(KOVAObject file);
    KOVAString Get() const { return text_.Get(); }

private:
    OwnedString text_; // released after the stream
    OwnedObject stream_;
};

} // namespace kova
