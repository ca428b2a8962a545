// A ROM for synthesis: the memory holds the image when the device starts. Set the name of the image
// and the number of words.
module rom #(
    parameter IMAGE = "rom.dat",
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
