-- Loads one image into a memory, as a simulation would, and compares one section in it, byte by
-- byte, with the section's raw bytes.
library ieee;
use ieee.numeric_std.all;
use work.image.all;

entity compare is
    generic (
        name  : string;    -- the bank's image
        raw   : string;    -- the section's raw file, as "bankimg -w" writes it
        first : natural;   -- place of the section's first byte in its bank
        words : positive   -- size of the memory
    );
end entity;

architecture simulation of compare is
    constant memory : word_array := read_image(name, words);

    impure function loaded(place : natural) return natural is
        constant bit_0 : natural := 8 * (place mod 4);
    begin
        return to_integer(unsigned(memory(place / 4)(bit_0 + 7 downto bit_0)));
    end function;
begin
    process
        type byte_file is file of character;
        file bytes : byte_file open read_mode is raw;
        variable byte : character;
        variable place : natural := first;
    begin
        while not endfile(bytes) loop
            read(bytes, byte);
            assert loaded(place) = character'pos(byte)
                report "FAIL: " & name & ": byte " & integer'image(place) & " is not as in " & raw
                severity failure;
            place := place + 1;
        end loop;
        report "ok: " & name & " holds " & raw;
        wait;
    end process;
end architecture;
