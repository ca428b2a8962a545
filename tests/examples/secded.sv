// Flips each bit, and each pair of bits, of a word in memory, and decodes it by the syndrome.
    reg [31:0] masks [0:6];

    // The syndrome of a single wrong bit.
    function [6:0] of_bit(input integer place);
        for (integer i = 0; i < 7; i++) of_bit[i] = place < 32 ? masks[i][place] : i == place - 32;
    endfunction

    // The place of the wrong bit, or -1 if no word is like that, or -2 if it is as it should be.
    function integer decode(input [38:0] word);
        reg [6:0] syndrome;
        for (integer i = 0; i < 7; i++) syndrome[i] = ^(word[31:0] & masks[i]) ^ word[32 + i];
        decode = syndrome === 0 ? -2 : -1;
        for (integer i = 0; i < 39; i++) if (syndrome === of_bit(i)) decode = i;
    endfunction

    function [38:0] flip(input [38:0] word, input integer place);
        flip = word ^ 39'b1 << place;
    endfunction

    initial begin
        $readmemh("masks", masks);
        #1;  // the memory is loaded
        for (integer i = 0; i < 4096; i++) if (decode(mem[i]) != -2) $fatal(1, "word %0d", i);
        for (integer i = 0; i < 39; i++) begin
            if (decode(flip(mem[1], i)) != i) $fatal(1, "bit %0d", i);
            for (integer j = 0; j < i; j++)
                if (decode(flip(flip(mem[1], i), j)) != -1) $fatal(1, "bits %0d and %0d", i, j);
        end
        $display("every bit is found");
        $finish;
    end
