#pragma once

/* What pseudo-terminals lack of real serial ports. Replaces ioctl() for modem lines and break, the
 * same with tcsetattr() and tcgetattr() for character size and parity, and read() for the end of a
 * device that was unplugged.
 *
 * Modem lines and break belong to virtual null-modem cables, shared by all processes that take
 * part.
 *
 * The table lives in an anonymous memory file; the environment variable VELMORA_NULLMODEM_LINES
 * names it for the processes that the owner starts. Each end of a cable is a pseudo-terminal, known
 * by the device number of its slave. Plain C, because the interposer is preloaded into arbitrary
 * programs.
 */

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { nullmodem_max_cables = 32 };

struct nullmodem_break
{
    uint32_t count;   /* breaks that have ended */
    uint32_t active;  /* 1 while the sender holds the line in break */
    uint64_t last_ns; /* length of the last one that ended */
};

/* Number of a free cable with both ends unplugged, or -1 when the table cannot be made or is full.
 */
int nullmodem_cable_new(void);
void nullmodem_cable_free(int cable);

/* `end` is 0 or 1. `device` is the slave's st_rdev; 0 unplugs. Lowers the outputs, forgets breaks.
 */
void nullmodem_plug(int cable, int end, uint64_t device);

/* TIOCM_DTR and TIOCM_RTS as set by the end. */
int nullmodem_outputs(int cable, int end);
void nullmodem_set_outputs(int cable, int end, int outputs);

/* What the driver of the end says it still has to send (TIOCOUTQ). Pseudo-terminals never say more
 * than 0. Unplugging empties it.
 */
void nullmodem_set_queued(int cable, int end, uint32_t bytes);

/* Breaks that the end has sent. */
struct nullmodem_break nullmodem_sent_breaks(int cable, int end);

/* Linux lets read() on a vanished terminal return 0, as at the end of a file, and leaves errno
 * alone. Which error QSerialPort then reports hangs on the last call that happened to fail. So that
 * a test does not hang on it too, read() fails with EIO here; 1 brings the kernel's own behaviour
 * back, for this process. */
void nullmodem_plain_hangup(int on);

#ifdef __cplusplus
}
#endif
