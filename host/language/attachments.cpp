// Dispatches events to attached handlers.
#include "host/language/attachments.h"

#include "host/language/operations.h"
#include "host/runtime/call.h"
#include "host/runtime/class_program.h"
#include "host/runtime/exception.h"
#include "host/runtime/string.h"

#include <algorithm>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

namespace host::language {

namespace {

struct Attachment {
    const Event* event;
    ObjectRef delegate;
};

struct Dispatcher {
    const Event* event;
    DelegateCall call;
};

struct StandIn {
    Class* cls;
    std::vector<std::unique_ptr<Dispatcher>> dispatchers;
};

std::unordered_map<Object*, std::vector<Attachment>>& Attachments() {
    static auto& attachments = *new std::unordered_map<Object*, std::vector<Attachment>>;
    return attachments;
}

bool hasStandIns = false; // even to look costs memory otherwise

// By the class that it stands in for.
std::unordered_map<Class*, StandIn>& StandIns() {
    static auto& standIns = *new std::unordered_map<Class*, StandIn>;
    return standIns;
}

void DropAttachments(Object* object, Class*) {
    // What goes with a delegate may look here again.
    auto dropped = Attachments().extract(object);
}

void Dispatch(void* context, const Slot* arguments, Slot* result) {
    const auto& dispatcher = *static_cast<const Dispatcher*>(context);
    const Event& event = *dispatcher.event;
    ObjectRef object = ObjectRef::Share(arguments[0].object);
    void* own = object.Get()->cls->super->handlers[event.slot].function;
    if (own != nullptr) CallNative(event.shape, own, arguments, result);
    // The handlers may attach and detach others.
    std::vector<ObjectRef> delegates;
    for (const Attachment& attachment : Attachments()[object.Get()]) {
        if (attachment.event == &event) delegates.push_back(attachment.delegate);
    }
    for (const ObjectRef& delegate : delegates) {
        if (IsExceptionPending()) return;
        ReleaseResult(event.shape->result, std::exchange(*result, {}));
        dispatcher.call(*AsDelegate(delegate.Get()), arguments, result);
    }
}

} // namespace

void AttachHandler(Object* object, const Event* event, Object* delegate, DelegateCall call) {
    auto attachments = Attachments().try_emplace(object).first;
    if (attachments->second.empty() && object->cls->destructor != DropAttachments) {
        StandIn& standIn = StandIns()[object->cls];
        hasStandIns = true;
        if (standIn.cls == nullptr) standIn.cls = DefineStandIn(object->cls, DropAttachments);
        MoveToStandIn(object, standIn.cls);
    }
    StandIn& standIn = StandIns()[object->cls->super];
    bool isDispatched = std::any_of(standIn.dispatchers.begin(), standIn.dispatchers.end(),
                                    [event](const auto& dispatcher) { return dispatcher->event == event; });
    if (!isDispatched) {
        auto dispatcher = std::make_unique<Dispatcher>(Dispatcher{event, call});
        standIn.dispatchers.reserve(standIn.dispatchers.size() + 1); // nothing fails once the class has it
        SetEventHandler(standIn.cls, event, Dispatch, dispatcher.get());
        standIn.dispatchers.push_back(std::move(dispatcher));
    }
    attachments->second.push_back({event, ObjectRef::Share(delegate)});
}

void DetachHandler(Object* object, const Event* event, const Object* delegate) {
    auto attachments = Attachments().find(object);
    if (attachments == Attachments().end()) return;
    const auto& wanted = *static_cast<const Delegate*>(delegate);
    std::vector<Attachment>& list = attachments->second;
    auto found = std::find_if(list.rbegin(), list.rend(), [&](const Attachment& attachment) {
        const Delegate& bound = *AsDelegate(attachment.delegate.Get());
        return attachment.event == event && bound.target == wanted.target && bound.code == wanted.code;
    });
    if (found != list.rend()) list.erase(std::next(found).base());
}

void RemoveStandIns() {
    if (!hasStandIns) return;
    // There is none where memory ended when it was to be made.
    std::erase_if(StandIns(), [](auto& entry) { return entry.second.cls == nullptr || RemoveClass(entry.second.cls); });
}

} // namespace host::language
