// Calls a function as a host's compiler does, argument by argument, and tells what it does to the stack and the
// registers.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <type_traits>

struct RawResult {
    std::uint32_t eax;
    std::uint32_t edx;
    std::int32_t poppedBytes;
    std::uint32_t keepsRegisters;  // ebx, esi, edi, as every callee must; not 0 when it does
    double number;                 // of a function that gives one
};

/// `stackShift`: how far below a multiple of 16 the arguments end; a host keeps the stack to multiples of 4 only.
extern "C" void ParvelRawCall(const void* function, const std::uint32_t* arguments, std::uint32_t count,
                              std::uint32_t ecx, std::uint32_t stackShift, RawResult* result,
                              std::uint32_t givesNumber);

/// An argument as the four bytes that are pushed.
struct RawArgument {
    template <class T>
    RawArgument(T* pointer) : value(reinterpret_cast<std::uint32_t>(pointer)) {}
    template <class T>
    RawArgument(T number) requires std::is_integral_v<T> : value(static_cast<std::uint32_t>(number)) {}
    RawArgument(std::nullptr_t) : value(0) {}
    std::uint32_t value;
};
