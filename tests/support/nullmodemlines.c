#define _GNU_SOURCE
#include "support/nullmodemlines.h"

#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

static const char variable[] = "VELMORA_NULLMODEM_LINES";
static const uint32_t table_magic = 0x564E4D33; /* layout of this version */

/* Written by several processes at once: every access is atomic, each field by itself. */
struct end
{
    uint64_t device; /* st_rdev of the slave; 0 while unplugged */
    uint32_t outputs;
    uint32_t break_count;
    uint64_t break_since_ns; /* CLOCK_MONOTONIC; 0 while the line idles */
    uint64_t break_last_ns;
    uint32_t framing; /* CSIZE and PARENB as they were set */
    uint32_t framed;  /* 1 once they were */
    uint32_t queued;  /* bytes that the driver says it holds */
};

struct cable
{
    uint32_t used;
    struct end ends[2];
};

struct table
{
    uint32_t magic;
    struct cable cables[nullmodem_max_cables];
};

static struct table* shared;
static int plain_hangup;

#define LOAD(field) __atomic_load_n(&(field), __ATOMIC_SEQ_CST)
#define STORE(field, value) __atomic_store_n(&(field), (value), __ATOMIC_SEQ_CST)

static struct table* map(int descriptor)
{
    void* memory =
        mmap(NULL, sizeof(struct table), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    return memory == MAP_FAILED ? NULL : memory;
}

/* The owner's side: an anonymous file that needs no clearing away, named through /proc. */
static struct table* create_table(void)
{
    char path[64];
    const int descriptor = memfd_create("velmora-nullmodem", MFD_CLOEXEC);
    if (descriptor < 0 || ftruncate(descriptor, sizeof(struct table)) != 0) {
        return NULL;
    }
    struct table* table = map(descriptor);
    if (table != NULL) {
        STORE(table->magic, table_magic);
        snprintf(path, sizeof path, "/proc/%d/fd/%d", (int)getpid(), descriptor);
        setenv(variable, path, 1);
    }
    return table;
}

/* The side of a program that was started by the owner. */
static struct table* find_table(void)
{
    if (shared != NULL || getenv(variable) == NULL) {
        return shared;
    }
    const int descriptor = open(getenv(variable), O_RDWR | O_CLOEXEC);
    struct stat status;
    if (descriptor >= 0 && fstat(descriptor, &status) == 0
        && (size_t)status.st_size == sizeof(struct table)) {
        struct table* table = map(descriptor);
        if (table != NULL && LOAD(table->magic) == table_magic) {
            shared = table;
        }
    }
    if (descriptor >= 0) {
        close(descriptor);
    }
    return shared;
}

static uint64_t now_ns(void)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (uint64_t)now.tv_sec * 1000000000U + (uint64_t)now.tv_nsec;
}

int nullmodem_cable_new(void)
{
    static int created;
    if (!created) {
        shared = create_table();
        created = shared != NULL;
    }
    for (int cable = 0; created && cable < nullmodem_max_cables; ++cable) {
        if (__atomic_exchange_n(&shared->cables[cable].used, 1, __ATOMIC_SEQ_CST) == 0) {
            nullmodem_plug(cable, 0, 0);
            nullmodem_plug(cable, 1, 0);
            return cable;
        }
    }
    return -1;
}

void nullmodem_cable_free(int cable)
{
    nullmodem_plug(cable, 0, 0);
    nullmodem_plug(cable, 1, 0);
    STORE(shared->cables[cable].used, 0);
}

void nullmodem_plug(int cable, int end, uint64_t device)
{
    struct end* own = &shared->cables[cable].ends[end];
    STORE(own->device, 0);
    STORE(own->outputs, 0);
    STORE(own->break_count, 0);
    STORE(own->break_since_ns, 0);
    STORE(own->break_last_ns, 0);
    STORE(own->framed, 0);
    STORE(own->queued, 0);
    STORE(own->device, device);
}

int nullmodem_outputs(int cable, int end)
{
    return (int)LOAD(shared->cables[cable].ends[end].outputs);
}

void nullmodem_set_outputs(int cable, int end, int outputs)
{
    STORE(shared->cables[cable].ends[end].outputs, (uint32_t)outputs & (TIOCM_DTR | TIOCM_RTS));
}

void nullmodem_set_queued(int cable, int end, uint32_t bytes)
{
    STORE(shared->cables[cable].ends[end].queued, bytes);
}

/* TIOCM_DSR, TIOCM_CAR and TIOCM_CTS as they arrive at the end. */
static int inputs(int cable, int end)
{
    const int far = nullmodem_outputs(cable, 1 - end);
    return ((far & TIOCM_DTR) != 0 ? TIOCM_DSR | TIOCM_CAR : 0)
           | ((far & TIOCM_RTS) != 0 ? TIOCM_CTS : 0);
}

struct nullmodem_break nullmodem_sent_breaks(int cable, int end)
{
    const struct end* own = &shared->cables[cable].ends[end];
    return (struct nullmodem_break){
        LOAD(own->break_count), LOAD(own->break_since_ns) != 0, LOAD(own->break_last_ns)};
}

static void set_break(struct end* own, int on)
{
    if (on) {
        uint64_t idle = 0;
        __atomic_compare_exchange_n(
            &own->break_since_ns, &idle, now_ns(), 0, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
        return;
    }
    const uint64_t since = __atomic_exchange_n(&own->break_since_ns, 0, __ATOMIC_SEQ_CST);
    if (since != 0) {
        STORE(own->break_last_ns, now_ns() - since);
        __atomic_add_fetch(&own->break_count, 1, __ATOMIC_SEQ_CST);
    }
}

/* The request on one end, as a driver of a real port answers it. */
static int answer(int cable, int end, unsigned long request, int* argument)
{
    struct end* own = &shared->cables[cable].ends[end];
    const uint32_t lines = argument != NULL ? (uint32_t)*argument & (TIOCM_DTR | TIOCM_RTS) : 0;
    switch (request) {
    case TIOCMGET:
        *argument = nullmodem_outputs(cable, end) | inputs(cable, end);
        break;
    case TIOCOUTQ:
        *argument = (int)LOAD(own->queued);
        break;
    case TIOCMSET:
        STORE(own->outputs, lines);
        break;
    case TIOCMBIS:
        __atomic_or_fetch(&own->outputs, lines, __ATOMIC_SEQ_CST);
        break;
    case TIOCMBIC:
        __atomic_and_fetch(&own->outputs, ~lines, __ATOMIC_SEQ_CST);
        break;
    default:
        set_break(own, request == TIOCSBRK);
        break;
    }
    return 0;
}

static int is_line_request(unsigned long request)
{
    return request == TIOCMGET || request == TIOCMSET || request == TIOCMBIS || request == TIOCMBIC
           || request == TIOCSBRK || request == TIOCCBRK || request == TIOCOUTQ;
}

/* Cable times two plus end; -1 for everything that is not on a cable. */
static int find_end(int descriptor)
{
    const struct table* table = find_table();
    struct stat status;
    if (table == NULL || fstat(descriptor, &status) != 0 || !S_ISCHR(status.st_mode)) {
        return -1;
    }
    for (int index = 0; index < 2 * nullmodem_max_cables; ++index) {
        if (LOAD(table->cables[index / 2].ends[index % 2].device) == status.st_rdev) {
            return index;
        }
    }
    return -1;
}

/* A pseudo-terminal's slave whose master is gone. */
static int is_hung_up(int descriptor)
{
    enum { first_slave_major = 136, last_slave_major = 143 };
    struct stat status;
    int unread;
    return fstat(descriptor, &status) == 0 && S_ISCHR(status.st_mode)
           && major(status.st_rdev) >= first_slave_major
           && major(status.st_rdev) <= last_slave_major
           && syscall(SYS_ioctl, descriptor, FIONREAD, &unread) != 0;
}

void nullmodem_plain_hangup(int on)
{
    STORE(plain_hangup, on);
}

__attribute__((visibility("default"))) ssize_t read(int descriptor, void* buffer, size_t size)
{
    const ssize_t count = syscall(SYS_read, descriptor, buffer, size);
    if (count == 0 && size > 0 && !LOAD(plain_hangup) && is_hung_up(descriptor)) {
        errno = EIO;
        return -1;
    }
    return count;
}

/* What a request does to the kernel's structures of line parameters: reads them, sets them, or
 * neither. Both structures, the one with numbers for the speeds (its requests carry its size) and
 * the one without, have the control flags in third place. */
enum parameters { no_parameters, gets_parameters, sets_parameters };

static enum parameters parameters_of(unsigned long request)
{
    enum { size_with_speeds = 44, get_with_speeds = 0x2A };
    const unsigned long get2 = _IOC(_IOC_READ, 'T', get_with_speeds, size_with_speeds);
    const unsigned long set2 = _IOC(_IOC_WRITE, 'T', get_with_speeds + 1, size_with_speeds);
    if (request == TCGETS || request == get2) {
        return gets_parameters;
    }
    const int sets =
        (request >= TCSETS && request <= TCSETSF) || (request >= set2 && request <= set2 + 2);
    return sets ? sets_parameters : no_parameters;
}

/* A pseudo-terminal's slave goes back to eight bits without parity at once. What a program set is
 * kept beside it and given back, because programs change one parameter by reading them all. */
static int transfer_parameters(int descriptor, unsigned long request, uint32_t* flags)
{
    const tcflag_t kept = CSIZE | PARENB;
    uint32_t* const control = flags + 2;
    const uint32_t wanted = *control & kept;
    const int result = (int)syscall(SYS_ioctl, descriptor, request, flags);
    const int index = result == 0 ? find_end(descriptor) : -1;
    if (index < 0) {
        return result;
    }
    struct end* own = &shared->cables[index / 2].ends[index % 2];
    if (parameters_of(request) == sets_parameters) {
        STORE(own->framing, wanted);
        STORE(own->framed, 1);
    } else if (LOAD(own->framed)) {
        *control = (*control & ~kept) | LOAD(own->framing);
    }
    return result;
}

/* Takes the place of the C library's function in the program and all its libraries. The system call
 * itself is made directly: looking up the next definition would depend on the order of loading,
 * which a sanitizer's run-time library changes. */
__attribute__((visibility("default"))) int ioctl(int descriptor, unsigned long request, ...)
{
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    if (parameters_of(request) != no_parameters && argument != NULL) {
        return transfer_parameters(descriptor, request, argument);
    }
    const int index = is_line_request(request) ? find_end(descriptor) : -1;
    int unread;
    /* A device that was unplugged fails before it is looked at, with the kernel's own error. */
    if (index < 0 || syscall(SYS_ioctl, descriptor, FIONREAD, &unread) != 0) {
        return (int)syscall(SYS_ioctl, descriptor, request, argument);
    }
    /* Break requests carry no pointer. */
    const int is_break = request == TIOCSBRK || request == TIOCCBRK;
    return answer(index / 2, index % 2, request, is_break ? NULL : argument);
}

/* The kernel's structure without numbers for the speeds, which is not the C library's. The library
 * does not go through the ioctl() above. */
struct kernel_termios
{
    uint32_t flags[4]; /* input, output, control, local */
    uint8_t line;
    uint8_t characters[19];
};

__attribute__((visibility("default"))) int tcsetattr(
    int descriptor, int when, const struct termios* wanted)
{
    struct kernel_termios kernel = {
        {wanted->c_iflag, wanted->c_oflag, wanted->c_cflag, wanted->c_lflag}, wanted->c_line, {0}};
    memcpy(kernel.characters, wanted->c_cc, sizeof kernel.characters);
    return ioctl(descriptor, (unsigned long)TCSETS + (unsigned long)when, &kernel);
}

__attribute__((visibility("default"))) int tcgetattr(int descriptor, struct termios* present)
{
    struct kernel_termios kernel = {0};
    if (ioctl(descriptor, TCGETS, &kernel) != 0) {
        return -1;
    }
    const uint32_t speed = kernel.flags[2] & (CBAUD | CBAUDEX);
    *present = (struct termios){kernel.flags[0], kernel.flags[1], kernel.flags[2], kernel.flags[3],
        kernel.line, {0}, speed, speed};
    memcpy(present->c_cc, kernel.characters, sizeof kernel.characters);
    return 0;
}
