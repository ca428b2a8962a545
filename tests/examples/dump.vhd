-- Prints the words that read_image returns for an image, one a line.
library ieee;
use ieee.std_logic_1164.all;
use std.textio.all;
use work.image.all;

entity dump is
    generic (name : string; words : positive);
end entity;

architecture simulation of dump is
begin
    process
        constant memory : word_array := read_image(name, words);
    begin
        for i in memory'range loop
            write(output, to_hstring(memory(i)) & LF);
        end loop;
        wait;
    end process;
end architecture;
