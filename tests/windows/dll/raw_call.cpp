#include "raw_call.h"

static_assert(sizeof(void*) == 4 && offsetof(RawResult, number) == 16);

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
    mov [ecx + 4], edx
    mov eax, esp
    sub eax, edi
    mov [ecx + 8], eax
    xor eax, eax
    cmp ebx, 0x11111111
    jne 3f
    cmp esi, 0x22222222
    jne 3f
    inc eax
3:  mov [ecx + 12], eax
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
