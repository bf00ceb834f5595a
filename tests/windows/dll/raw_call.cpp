#include "raw_call.h"

#include <gtest/gtest.h>

static_assert(sizeof(void*) == 4 && sizeof(RawArgument) == 4 && offsetof(RawResult, number) == 16);

extern "C" void ParvelRawCall(const void* function, const RawArgument* arguments, std::size_t count, std::uint32_t ecx,
                              std::uint32_t stackShift, RawResult* result, std::uint32_t givesNumber);

RawResult RawCall(RawKind kind, const void* function, std::initializer_list<RawArgument> arguments,
                  std::uint32_t stackShift) {
    const bool isMember = kind == RawKind::kMember;
    const std::size_t pushedCount = arguments.size() - (isMember ? 1 : 0);
    RawResult result = {};
    ParvelRawCall(function, arguments.end() - pushedCount, pushedCount, isMember ? arguments.begin()->value : 0,
                  stackShift, &result, kind == RawKind::kNumber);
    EXPECT_EQ(result.poppedBytes, static_cast<std::int32_t>(4 * pushedCount));
    EXPECT_NE(result.keepsRegisters, 0u);
    return result;
}

asm(R"(
    .intel_syntax noprefix
    .globl _ParvelRawCall
_ParvelRawCall:
    push ebp
    mov ebp, esp
    push ebx
    push esi
    push edi
    mov ecx, [ebp + 16]
    mov edx, [ebp + 12]
    lea eax, [ecx * 4 + 16]
    sub esp, eax
    and esp, -16
    lea esp, [esp + ecx * 4]
    sub esp, [ebp + 24]
1:  test ecx, ecx
    jz 2f
    push dword ptr [edx + ecx * 4 - 4]
    dec ecx
    jmp 1b
2:  mov ebx, 0x11111111
    mov esi, 0x22222222
    mov edi, esp
    mov ecx, [ebp + 20]
    mov edx, 0x33333333
    call dword ptr [ebp + 8]
    mov ecx, [ebp + 28]
    mov [ecx], eax
    mov eax, esp
    sub eax, edi
    mov [ecx + 4], eax
    xor eax, eax
    cmp ebx, 0x11111111
    jne 3f
    cmp esi, 0x22222222
    jne 3f
    inc eax
3:  mov [ecx + 8], eax
    cmp dword ptr [ebp + 32], 0
    je 4f
    fstp qword ptr [ecx + 16]
4:  lea esp, [ebp - 12]
    pop edi
    pop esi
    pop ebx
    pop ebp
    ret
    .att_syntax
)");
