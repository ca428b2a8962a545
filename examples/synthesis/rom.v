// A ROM for synthesis: the image stands in the memory when the device starts. The name and the 64
// words are to be changed.
module rom (
    input  wire        clock,
    input  wire [5:0]  address,
    output reg  [31:0] word
);
    reg [31:0] memory [0:63];
    initial $readmemh("rom.dat", memory);
    always @(posedge clock) word <= memory[address];
endmodule
