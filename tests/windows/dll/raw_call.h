// Calls a function by its address as a host's compiler does, argument by argument, and holds it to its convention: it
// takes its arguments off the stack, and keeps ebx, esi and edi.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <type_traits>

/// A member has its object in ecx (__thiscall); a number comes on the stack of the FPU.
enum class RawKind { kFunction, kMember, kNumber };

struct RawResult {
    std::uint32_t value;
    std::int32_t poppedBytes;
    std::uint32_t keepsRegisters;
    double number;
};

/// An argument as the four bytes that are pushed.
struct RawArgument {
    template <class T>
    RawArgument(T* pointer) : value(reinterpret_cast<std::uint32_t>(pointer)) {}
    template <class T>
    RawArgument(T number) requires std::is_integral_v<T> : value(static_cast<std::uint32_t>(number)) {}
    RawArgument(std::nullptr_t) : value(0) {}
    std::uint32_t value;
};

/// `stackShift`: how far below a multiple of 16 the arguments end; a host keeps the stack to multiples of 4 only.
RawResult RawCall(RawKind kind, const void* function, std::initializer_list<RawArgument> arguments,
                  std::uint32_t stackShift);
