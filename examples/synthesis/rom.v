// A ROM for synthesis: the memory holds the words when the device starts. Set the name of the file,
// as "bankimg-words rom.dat >rom.hex" writes it, and the number of words. A tool that accepts
// comments takes the image as well.
module rom #(
    parameter IMAGE = "rom.hex",
    parameter WORDS = 64
) (
    input  wire                       clock,
    input  wire [$clog2(WORDS) - 1:0] address,
    output reg  [31:0]                word
);
    reg [31:0] memory [0:WORDS - 1];
    initial $readmemh(IMAGE, memory);
    always @(posedge clock) word <= memory[address];
endmodule
