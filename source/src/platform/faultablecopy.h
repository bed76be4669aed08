// The copy behind copyGuarded: a routine whose faults are repaired by the fault handler
// rather than by a jump buffer. When a load or store inside it faults with a kind its
// caller owns, the handler moves the instruction pointer to the routine's recovery exit,
// which returns 0. Nothing is saved before the copy, so the path without a fault costs
// one call. x86-64 only; elsewhere copyGuarded runs memcpy under runGuarded.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__x86_64__)
#define XO_HAS_FAULTABLE_COPY 1

extern "C" {
// 1 when count bytes were copied, 0 when a fault of a kind in owned stopped the copy.
__attribute__((visibility("hidden"))) int xo_faultable_copy(void* dest, const void* src,
                                                            std::size_t count, unsigned owned);
__attribute__((visibility("hidden"))) extern const char xo_faultable_copy_end[];
__attribute__((visibility("hidden"))) extern const char xo_faultable_copy_recover[];
}

namespace xo::platform {

// Where a fault of this kind at pc resumes, with the routine's owned kinds read from the
// faulting thread's r9; 0 when the fault is not the routine's to repair.
inline std::uintptr_t faultableCopyResume(std::uintptr_t pc, unsigned kind,
                                          std::uint64_t ownedRegister) {
    const auto start = reinterpret_cast<std::uintptr_t>(&xo_faultable_copy);
    const auto end = reinterpret_cast<std::uintptr_t>(xo_faultable_copy_end);
    if (pc < start || pc >= end || (ownedRegister & kind) == 0)
        return 0;
    return reinterpret_cast<std::uintptr_t>(xo_faultable_copy_recover);
}

} // namespace xo::platform

// The body both calling conventions share, after their prologue has put the
// destination in rdi, the source in rsi, the count in rcx and the owned kinds in r9,
// and saved the caller's rdi and rsi in r10 and r11 (Windows expects them back, also
// from the recovery exit). Each prologue moves a single byte (the stream's readByte)
// itself. Below 16 bytes the body moves bytes; below 256, 16 at a time with one last
// overlapping move; from 256 on, the processor's string move, as fast as memcpy. Any
// instruction may fault: each leaves only scratch registers changed (rax, r8, xmm0 and
// the moving pointers).
#define XO_FAULTABLE_COPY_BODY                                                                     \
    "    cmp $256, %rcx\n"                                                                         \
    "    jae 3f\n"                                                                                 \
    "    cmp $16, %rcx\n"                                                                          \
    "    jb 2f\n"                                                                                  \
    "    lea -16(%rsi,%rcx), %r8\n"                                                                \
    "    lea -16(%rdi,%rcx), %rax\n"                                                               \
    "1:  movups (%rsi), %xmm0\n"                                                                   \
    "    movups %xmm0, (%rdi)\n"                                                                   \
    "    add $16, %rsi\n"                                                                          \
    "    add $16, %rdi\n"                                                                          \
    "    sub $16, %rcx\n"                                                                          \
    "    cmp $16, %rcx\n"                                                                          \
    "    jae 1b\n"                                                                                 \
    "    movups (%r8), %xmm0\n"                                                                    \
    "    movups %xmm0, (%rax)\n"                                                                   \
    "    jmp 4f\n"                                                                                 \
    "2:  test %rcx, %rcx\n"                                                                        \
    "    jz 4f\n"                                                                                  \
    "5:  movzbl (%rsi), %eax\n"                                                                    \
    "    mov %al, (%rdi)\n"                                                                        \
    "    inc %rsi\n"                                                                               \
    "    inc %rdi\n"                                                                               \
    "    dec %rcx\n"                                                                               \
    "    jnz 5b\n"                                                                                 \
    "    jmp 4f\n"                                                                                 \
    "3:  rep movsb\n"                                                                              \
    "4:  mov %r10, %rdi\n"                                                                         \
    "    mov %r11, %rsi\n"                                                                         \
    "    mov $1, %eax\n"                                                                           \
    "    ret\n"                                                                                    \
    "xo_faultable_copy_end:\n"                                                                     \
    "xo_faultable_copy_recover:\n"                                                                 \
    "    mov %r10, %rdi\n"                                                                         \
    "    mov %r11, %rsi\n"                                                                         \
    "    xor %eax, %eax\n"                                                                         \
    "    ret\n"

#endif
