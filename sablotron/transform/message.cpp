// Messages as the arrays of fields that handlers get.
#include "sablotron/transform/message.h"

#include "sablotron/transform/processor.h"

#include <vector>

namespace sablot {
namespace {

constexpr unsigned short FACILITY = 2;

const char* TypeOf(SablotMessageLevel level) {
    if (level >= SABLOT_LEVEL_ERROR) return "msgtype:error";
    return level == SABLOT_LEVEL_WARNING ? "msgtype:warning" : "msgtype:log";
}

} // namespace

void SendMessage(SablotHandle processor, const Message& message) {
    if ((processor == nullptr) || (processor->messageHandler == nullptr)) return;
    const ProcessorUse use(processor);
    const SablotMessageHandler handler = *processor->messageHandler;
    void* const userData = processor->messageData;
    const bool isError = message.level >= SABLOT_LEVEL_ERROR;

    std::vector<std::string> texts = {TypeOf(message.level), "code:" + std::to_string(message.code),
                                      "module:Sablotron"};
    if (!message.uri.empty()) texts.push_back("URI:" + message.uri);
    if (message.line > 0) texts.push_back("line:" + std::to_string(message.line));
    if (!message.node.empty()) texts.push_back("node:" + message.node);
    texts.push_back("msg:" + message.text);
    std::vector<char*> fields;
    fields.reserve(texts.size() + 1);
    for (std::string& text : texts) fields.push_back(text.data());
    fields.push_back(nullptr);

    int code = message.code;
    if (handler.makeCode != nullptr)
        code =
            handler.makeCode(userData, processor, isError ? 1 : 0, FACILITY, static_cast<unsigned short>(message.code));
    const auto send = isError ? handler.error : handler.log;
    if (send != nullptr) send(userData, processor, code, message.level, fields.data());
}

} // namespace sablot
