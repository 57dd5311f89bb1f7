// Lazily resolved host services: one object per service, called by the service's name.
#pragma once

#include "glue/host_types.h"

#include <type_traits>

namespace kova {

// Stored by KOVAPluginMain, never cleared.
extern HostResolver gResolver;

// Asks the host for a service; not to be called before KOVAPluginMain.
HostFunction ResolveHostService(const char* name);

template <typename Signature>
class HostService;

// The first call resolves the service and keeps it. While the host has no such service every call asks again and
// answers the fallback: nil, 0, false or nothing. A bool result is the low byte of the host's word.
template <typename Result, typename... Args>
class HostService<Result(Args...)> {
public:
    constexpr explicit HostService(const char* name) : name_(name) {}
    HostService(const HostService&) = delete;
    HostService& operator=(const HostService&) = delete;

    // Whether the last call reached the host.
    bool IsResolved() const { return function_ != nullptr; }

    Result operator()(Args... args) {
        if (function_ == nullptr) function_ = reinterpret_cast<Function>(ResolveHostService(name_));
        if (function_ == nullptr) return Result();
        if constexpr (std::is_same_v<Result, bool>)
            return (function_(args...) & 0xFF) != 0;
        else
            return function_(args...);
    }

private:
    using Word = std::conditional_t<std::is_same_v<Result, bool>, uint32_t, Result>;
    using Function = Word (*)(Args...);

    const char* name_;
    Function function_ = nullptr;
};

} // namespace kova
