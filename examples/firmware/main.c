// The firmware: every tick it sends a numbered heartbeat frame, protected by a CRC-32, through a
// serial port. Small, but with all kinds of sections: code, constants, initialised and zeroed
// data, a stack.
#include <stdint.h>

struct uart {
    volatile uint32_t data;
    volatile uint32_t status;  // bit 0: busy
};
#define UART ((struct uart*)0x10000000)
#define TICK (*(volatile uint32_t*)0x10001000)

struct frame {
    uint8_t sync[2];
    uint16_t number;
    uint8_t text[16];
    uint32_t crc;
};

static const uint32_t crc_of_nibble[16] = {
    0x00000000, 0x1db71064, 0x3b6e20c8, 0x26d930ac, 0x76dc4190, 0x6b6b51f4, 0x4db26158, 0x5005713c,
    0xedb88320, 0xf00f9344, 0xd6d6a3e8, 0xcb61b38c, 0x9b64c2b0, 0x86d3d2d4, 0xa00ae278, 0xbdbdf21c,
};

static struct frame frame = {{0x55, 0xaa}, 1, "bankimg says hi", 0};
uint32_t sent[64];  // the last CRCs, for a debugger

static uint32_t crc32(const uint8_t* bytes, uint32_t len) {
    uint32_t crc = 0xffffffff;
    for (uint32_t i = 0; i < len; i++) {
        crc ^= bytes[i];
        crc = (crc >> 4) ^ crc_of_nibble[crc & 15];
        crc = (crc >> 4) ^ crc_of_nibble[crc & 15];
    }
    return ~crc;
}

static void send(const uint8_t* bytes, uint32_t len) {
    for (uint32_t i = 0; i < len; i++) {
        while (UART->status & 1) {
        }
        UART->data = bytes[i];
    }
}

int main(void) {
    for (;;) {
        const uint32_t now = TICK;
        frame.crc = crc32((const uint8_t*)&frame, sizeof frame - sizeof frame.crc);
        send((const uint8_t*)&frame, sizeof frame);
        sent[frame.number++ % 64] = frame.crc;
        while (TICK == now) {
        }
    }
}
