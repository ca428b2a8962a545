// Loads in.hex into a memory and writes what the memory holds then to dump.hex.
module load;
    reg [31:0] memory [0:4095];
    initial begin
        $readmemh("in.hex", memory);
        $writememh("dump.hex", memory);
        $finish;
    end
endmodule
