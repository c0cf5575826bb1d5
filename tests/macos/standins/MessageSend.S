# How a message finds its method: keep what the method will want, look up, go there. On nothing the
# answer is nothing.

.macro keep
    push %rbp
    mov %rsp, %rbp
    sub $0xe0, %rsp
    mov %rdi, 0x00(%rsp)
    mov %rsi, 0x08(%rsp)
    mov %rdx, 0x10(%rsp)
    mov %rcx, 0x18(%rsp)
    mov %r8, 0x20(%rsp)
    mov %r9, 0x28(%rsp)
    mov %rax, 0x30(%rsp)
    movups %xmm0, 0x40(%rsp)
    movups %xmm1, 0x50(%rsp)
    movups %xmm2, 0x60(%rsp)
    movups %xmm3, 0x70(%rsp)
    movups %xmm4, 0x80(%rsp)
    movups %xmm5, 0x90(%rsp)
    movups %xmm6, 0xa0(%rsp)
    movups %xmm7, 0xb0(%rsp)
.endm

.macro go
    mov %rax, %r11
    mov 0x00(%rsp), %rdi
    mov 0x08(%rsp), %rsi
    mov 0x10(%rsp), %rdx
    mov 0x18(%rsp), %rcx
    mov 0x20(%rsp), %r8
    mov 0x28(%rsp), %r9
    mov 0x30(%rsp), %rax
    movups 0x40(%rsp), %xmm0
    movups 0x50(%rsp), %xmm1
    movups 0x60(%rsp), %xmm2
    movups 0x70(%rsp), %xmm3
    movups 0x80(%rsp), %xmm4
    movups 0x90(%rsp), %xmm5
    movups 0xa0(%rsp), %xmm6
    movups 0xb0(%rsp), %xmm7
    leave
.endm

.text
.globl objc_msgSend, objc_msgSend_fpret
objc_msgSend:
objc_msgSend_fpret:
    test %rdi, %rdi
    jz 1f
    keep
    call standins_lookup@PLT
    go
    jmp *%r11
1:  xor %eax, %eax
    xor %edx, %edx
    pxor %xmm0, %xmm0
    pxor %xmm1, %xmm1
    ret

.globl objc_msgSend_stret
objc_msgSend_stret:
    test %rsi, %rsi
    jz 1f
    keep
    mov %rsi, %rdi
    mov %rdx, %rsi
    call standins_lookup@PLT
    go
    jmp *%r11
1:  mov %rdi, %rax
    ret

.globl objc_msgSendSuper2
objc_msgSendSuper2:
    keep
    call standins_lookup_super@PLT
    go
    mov (%rdi), %rdi
    jmp *%r11

.section .note.GNU-stack,"",@progbits
