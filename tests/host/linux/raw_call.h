// Calls a function by its address, with arguments of any types: here all of them travel in the same registers.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <type_traits>

enum class RawKind { kFunction, kMember, kNumber };

struct RawResult {
    std::uintptr_t value;
    double number;  // of a kNumber
};

struct RawArgument {
    template <class T>
    RawArgument(T* pointer) : value(reinterpret_cast<std::uintptr_t>(pointer)) {}
    template <class T>
    RawArgument(T number) requires std::is_integral_v<T> : value(static_cast<std::uintptr_t>(number)) {}
    RawArgument(std::nullptr_t) : value(0) {}
    std::uintptr_t value;
};

inline RawResult RawCall(RawKind kind, const void* function, std::initializer_list<RawArgument> arguments, unsigned) {
    std::uintptr_t a[4] = {};
    for (std::size_t i = 0; i < arguments.size(); ++i) a[i] = arguments.begin()[i].value;
    const auto call = [&]<class Result>(Result (*typed)(std::uintptr_t, std::uintptr_t, std::uintptr_t,
                                                        std::uintptr_t)) { return typed(a[0], a[1], a[2], a[3]); };
    void* const address = const_cast<void*>(function);
    using Number = double (*)(std::uintptr_t, std::uintptr_t, std::uintptr_t, std::uintptr_t);
    using Value = std::uintptr_t (*)(std::uintptr_t, std::uintptr_t, std::uintptr_t, std::uintptr_t);
    if (kind == RawKind::kNumber) return {0, call(reinterpret_cast<Number>(address))};
    return {call(reinterpret_cast<Value>(address)), 0};
}
