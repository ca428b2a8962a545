-- Reads an image of bankimg into a memory of 32-bit words; copy it into your project. VHDL-2008.
-- Words after the image are 0. An image that is longer than the memory ends the simulation. For a
-- line of another form, such as those of bankimg-words, hread reports an error and goes on.
library ieee;
use ieee.std_logic_1164.all;
use std.textio.all;

package image is
    type word_array is array (natural range <>) of std_logic_vector(31 downto 0);
    impure function read_image(name : string; words : positive) return word_array;
end package;

package body image is
    impure function read_image(name : string; words : positive) return word_array is
        type pointer is access word_array;  -- a variable of this size is too large for GHDL
        variable memory : pointer := new word_array'(0 to words - 1 => x"00000000");
        file lines : text open read_mode is name;
        variable current : line;
        variable place : natural := 0;
    begin
        while not endfile(lines) loop
            readline(lines, current);
            for i in 1 to 4 loop  -- the comment after the words stays unread
                hread(current, memory(place));
                place := place + 1;
            end loop;
        end loop;
        return memory.all;
    end function;
end package body;
