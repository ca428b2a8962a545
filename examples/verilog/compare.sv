// Loads one image into a memory, as a simulation would, and compares one section in it, byte by
// byte, with the section's raw bytes. Standard SystemVerilog, for Icarus Verilog and Verilator.
//
//   +image=FILE   the bank's image
//   +raw=FILE     the section's raw file, as "bankimg -w" writes it
//   +first=N      place of the section's first byte in its bank
//   +size=N       size of the bank in bytes
module compare;
    parameter WORDS = 1;  // size of the largest bank: one build serves them all

    reg [31:0] memory [0:WORDS - 1];
    string image, raw;
    reg [7:0] loaded;
    integer first, size, place, file, value;

    initial begin
        if ($value$plusargs("image=%s", image) == 0 || $value$plusargs("raw=%s", raw) == 0
                || $value$plusargs("first=%d", first) == 0 || $value$plusargs("size=%d", size) == 0)
            $fatal(1, "FAIL: +image, +raw, +first and +size are needed");
        file = $fopen(raw, "rb");
        if (file == 0) $fatal(1, "FAIL: cannot open %0s", raw);

        // Each byte to come is preceded by its complement. A simulator whose memories begin as
        // zeros would otherwise take a zero that is missing in the image for one that is there.
        place = first;
        for (value = $fgetc(file); value >= 0; value = $fgetc(file)) begin
            if (place >= size) $fatal(1, "FAIL: %0s reaches past the end of its bank", raw);
            memory[place / 4][8 * (place % 4) +: 8] = ~value[7:0];
            place = place + 1;
        end
        if (place == first) $fatal(1, "FAIL: %0s is empty", raw);

        $readmemh(image, memory);

        value = $rewind(file);
        place = first;
        for (value = $fgetc(file); value >= 0; value = $fgetc(file)) begin
            loaded = memory[place / 4][8 * (place % 4) +: 8];
            if (loaded !== value[7:0])
                $fatal(1, "FAIL: %0s: byte %0d is %h, not %h as in %0s", image, place, loaded,
                    value[7:0], raw);
            place = place + 1;
        end
        $display("ok: %0s holds %0s in bytes %0d to %0d", image, raw, first, place - 1);
        $finish;  // nothing may follow: Verilator runs on to the end of the block
    end
endmodule
