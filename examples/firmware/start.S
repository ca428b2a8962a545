# Start-up code. The core comes out of reset at the boot vector, far from the program memory.

    .section .boot, "ax"
    .globl reset
reset:
    la      sp, stack_top
    la      t0, start
    jr      t0

    .section .text.start, "ax"
start:
    la      t0, bss_begin
    la      t1, bss_end
clear:
    bgeu    t0, t1, run
    sw      zero, 0(t0)
    addi    t0, t0, 4
    j       clear
run:
    call    main
halt:
    wfi
    j       halt
