// Loads one image into a memory of its bank's size, as a simulation would, and compares one
// section in it, word by word, with the section's raw bytes.
//
//   +image=FILE   the bank's image
//   +raw=FILE     the section's raw file, as "bankimg -w" writes it
//   +first=N      index of the memory word that holds the section's first byte
module compare;
    parameter WORDS = 1;  // size of the bank

    reg [31:0] memory [0:WORDS - 1];
    reg [8 * 256 - 1:0] image, raw;
    reg [31:0] bytes, expected;
    integer first, file, index, count;

    initial begin
        if (!$value$plusargs("image=%s", image) || !$value$plusargs("raw=%s", raw)
                || !$value$plusargs("first=%d", first)) begin
            $display("FAIL: +image, +raw and +first are needed");
            $finish_and_return(1);
        end
        $readmemh(image, memory);
        file = $fopen(raw, "rb");
        if (file == 0) begin
            $display("FAIL: cannot open %0s", raw);
            $finish_and_return(1);
        end

        index = first;
        bytes = 0;
        count = $fread(bytes, file);  // the first byte becomes the highest
        while (count > 0) begin
            expected = {bytes[7:0], bytes[15:8], bytes[23:16], bytes[31:24]};
            if (memory[index] !== expected) begin
                $display("FAIL: %0s word %0d is %h, not %h", image, index, memory[index], expected);
                $finish_and_return(1);
            end
            index = index + 1;
            bytes = 0;
            count = $fread(bytes, file);
        end
        if (index == first) begin
            $display("FAIL: %0s is empty", raw);
            $finish_and_return(1);
        end
        $display("ok: %0s holds %0s in words %0d to %0d", image, raw, first, index - 1);
        $finish_and_return(0);
    end
endmodule
