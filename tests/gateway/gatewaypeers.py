"""velmora-gateway between programs of others: pyserial and ser2net speak RFC 2217 with it, libmodbus,
pymodbus and mbpoll Modbus.

    gatewaypeers.py GATEWAY [unittest arguments]

Ports are pseudo-terminals and loopback ports that the system chooses; all files are in a scratch
folder. A peer that is not installed skips its test.
"""
import contextlib
import ctypes
import ctypes.util
import json
import os
import pathlib
import select
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import termios
import threading
import time
import tty
import unittest

PATIENCE = 20  # seconds
GATEWAY = ""


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def until(condition, what):
    end = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > end:
            raise AssertionError("never: " + what)
        time.sleep(0.02)


def listens(port):
    """Asked of the system: a connection would be a client, and some serve one only."""
    ending = ":%04X" % port
    rows = [
        row.split()
        for table in ("/proc/net/tcp", "/proc/net/tcp6")
        for row in pathlib.Path(table).read_text().splitlines()
    ]
    return any(row[1].endswith(ending) and row[3] == "0A" for row in rows)


def pattern(size):
    """At least so many bytes of all values, with the 0xFF that Telnet doubles in runs of its own."""
    block = bytes(range(256)) + b"\xff\xff\xff\r\n\x00"
    return block * (size // len(block) + 1)


class Pty:
    """A line: `path` is what a program opens, the master is the device."""

    def __init__(self):
        self.master, self.slave = os.openpty()
        tty.setraw(self.slave)
        self.path = os.ttyname(self.slave)
        os.set_blocking(self.master, False)

    def close(self):
        os.close(self.master)
        os.close(self.slave)

    def speed(self):
        return termios.tcgetattr(self.slave)[5]

    def read(self, size):
        data = b""
        end = time.monotonic() + PATIENCE
        while len(data) < size and time.monotonic() < end:
            if select.select([self.master], [], [], 0.1)[0]:
                data += os.read(self.master, 65536)
        return data

    def write(self, data):
        view = memoryview(data)
        end = time.monotonic() + PATIENCE
        while view and time.monotonic() < end:
            if select.select([], [self.master], [], 0.1)[1]:
                with contextlib.suppress(BlockingIOError):
                    view = view[os.write(self.master, view) :]
        assert not view, "the line took nothing more"


def serial_pane(path, baud=115200):
    return f"ConnMode=0\nPortName={path}\nBaudRate={baud}\nDataBits=8\n"


def server_pane(port):
    return f"ConnMode=1\nLastTargetPort={port}\n"


def client_pane(port):
    return f"ConnMode=2\nLastTargetHost=127.0.0.1\nLastTargetPort={port}\n"


class GatewayTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="gatewaypeers-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.file = self.folder / "session.vmr"
        self.environment = dict(
            os.environ,
            HOME=str(self.folder),
            XDG_CONFIG_HOME=str(self.folder),
            XDG_RUNTIME_DIR=str(self.folder),
        )

    def run_program(self, *command):
        process = subprocess.Popen(
            command,
            env=self.environment,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
        )
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def line(self):
        line = Pty()
        self.addCleanup(line.close)
        return line

    def start(self, first, second, **bridge):
        keys = dict(Name="Peers", PortA=0, PortB=1, FanoutMode=0, **bridge)
        self.file.write_text(
            f"[General]\nPortNumber=2\n\n[0]\n{first}\n[1]\n{second}\n[Bridge]\nCount=1\n"
            + "".join(f"0\\{key}={value}\n" for key, value in keys.items())
        )
        self.gateway = self.run_program(GATEWAY, str(self.file))

    def status(self):
        said = subprocess.run(
            [GATEWAY, "--status", str(self.file)],
            env=self.environment,
            stdout=subprocess.PIPE,
            check=True,
        )
        return json.loads(said.stdout)

    def stop(self):
        self.gateway.send_signal(signal.SIGTERM)
        self.assertEqual(self.gateway.wait(PATIENCE), 0)


class Rfc2217(GatewayTest):
    def test_pyserial_uses_a_port_of_the_gateway(self):
        try:
            import serial
        except ImportError:
            self.skipTest("pyserial is not installed")
        line, port = self.line(), free_port()
        self.start(serial_pane(line.path), server_pane(port), Protocol=1)
        until(lambda: listens(port), "the gateway listens")
        remote = serial.serial_for_url(
            f"rfc2217://127.0.0.1:{port}?poll_modem&timeout=20", baudrate=57600, timeout=PATIENCE
        )
        with contextlib.closing(remote):
            until(lambda: line.speed() == termios.B57600, "57600 Bd at the line")
            data = pattern(256 * 1024)
            reader = threading.Thread(target=lambda: got.append(line.read(len(data))))
            got = []
            reader.start()
            remote.write(data)
            reader.join()
            self.assertEqual(got[0], data)
            writer = threading.Thread(target=line.write, args=(data,))
            writer.start()
            self.assertEqual(remote.read(len(data)), data)
            writer.join()
            # Commands between data: nothing is lost, doubled or out of place.
            sent = b""
            for step in range(40):
                piece = b"%04d\xff;" % step
                remote.write(piece)
                remote.rts = step % 2 == 0
                remote.dtr = step % 3 == 0
                sent += piece
            self.assertEqual(line.read(len(sent)), sent)
            remote.baudrate = 9600
            until(lambda: line.speed() == termios.B9600, "9600 Bd at the line")
            remote.send_break(0.05)
            line.write(b"stale")
            until(lambda: remote.in_waiting == 5, "the bytes at the client")
            remote.reset_input_buffer()
            remote.reset_output_buffer()
            line.write(b"fresh")
            self.assertEqual(remote.read(5), b"fresh")
        self.stop()

    def test_the_gateway_uses_a_port_of_ser2net(self):
        if not shutil.which("ser2net"):
            self.skipTest("ser2net is not installed")
        near, far, port = self.line(), self.line(), free_port()
        self.run_program(
            "ser2net", "-n", "-u", "-Y",
            f"connection: &peer#  accepter: telnet(rfc2217),tcp,127.0.0.1,{port}"
            f"#  connector: serialdev,{far.path},9600n81,local",
        )
        until(lambda: listens(port), "ser2net listens")
        self.start(serial_pane(near.path, 19200), client_pane(port), Protocol=3)
        until(lambda: far.speed() == termios.B19200, "19200 Bd at the far line")
        data = pattern(64 * 1024)
        for source, target in ((near, far), (far, near)):
            writer = threading.Thread(target=source.write, args=(data,))
            writer.start()
            self.assertEqual(target.read(len(data)), data)
            writer.join()
        self.stop()


class Flood(GatewayTest):
    def test_clients_that_reset_in_the_middle_of_a_flood(self):
        line, port = self.line(), free_port()
        self.start(serial_pane(line.path), server_pane(port))
        until(lambda: listens(port), "the gateway listens")
        for _ in range(20):
            client = socket.create_connection(("127.0.0.1", port), PATIENCE)
            client.setblocking(False)
            with contextlib.suppress(BlockingIOError):
                while True:
                    client.send(bytes(65536))
            client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            client.close()
            with contextlib.suppress(BlockingIOError):
                os.read(line.master, 65536)

        def swept():
            with contextlib.suppress(BlockingIOError):
                while os.read(line.master, 65536):
                    pass
            return self.status()["bridges"][0]["fromB"]["queued"] == 0

        until(swept, "the floods are gone")
        way = self.status()["bridges"][0]["fromB"]
        self.assertEqual(way["bytesIn"], way["bytesOut"] + way["dropped"] + way["discarded"])
        with socket.create_connection(("127.0.0.1", port), PATIENCE) as client:
            until(lambda: self.line_says(line, client), "the next client is served")
        self.stop()

    @staticmethod
    def line_says(line, client):
        client.sendall(b"?")
        with contextlib.suppress(BlockingIOError):
            return b"?" in os.read(line.master, 65536)
        return False


class LibModbus:
    """The library, for the slave at the line and for clients."""

    REGISTERS = 1000

    def __init__(self):
        self.library = ctypes.CDLL(ctypes.util.find_library("modbus"))
        for name in ("modbus_new_rtu", "modbus_new_tcp", "modbus_mapping_new"):
            getattr(self.library, name).restype = ctypes.c_void_p
        self.library.modbus_set_response_timeout.argtypes = (
            ctypes.c_void_p, ctypes.c_uint32, ctypes.c_uint32)

    class Mapping(ctypes.Structure):
        _fields_ = [(name, ctypes.c_int) for name in (
            "coils", "firstCoil", "inputs", "firstInput", "inputRegisters", "firstInputRegister",
            "registerCount", "firstRegister")] + [(name, ctypes.c_void_p) for name in (
                "coilBits", "inputBits", "inputWords")] + [("words", ctypes.POINTER(ctypes.c_uint16))]

    def serve(self, path, unit):
        """Unit `unit` at the line, whose holding register n holds 3 n; does not return."""
        at = ctypes.c_void_p(
            self.library.modbus_new_rtu(path.encode(), 115200, ctypes.c_char(b"N"), 8, 1))
        self.library.modbus_set_slave(at, unit)
        assert self.library.modbus_connect(at) == 0
        mapping = ctypes.c_void_p(self.library.modbus_mapping_new(16, 16, self.REGISTERS, 16))
        words = ctypes.cast(mapping, ctypes.POINTER(self.Mapping)).contents.words
        for register in range(self.REGISTERS):
            words[register] = 3 * register
        query = (ctypes.c_uint8 * 260)()
        while True:
            size = self.library.modbus_receive(at, query)
            if size > 0:
                self.library.modbus_reply(at, query, size, mapping)

    def read(self, port, unit, starts, count):
        """Reads `count` holding registers at each of the starts, on one connection."""
        at = ctypes.c_void_p(self.library.modbus_new_tcp(b"127.0.0.1", port))
        self.library.modbus_set_slave(at, unit)
        self.library.modbus_set_response_timeout(at, PATIENCE, 0)
        values = []
        if self.library.modbus_connect(at) == 0:
            words = (ctypes.c_uint16 * count)()
            for start in starts:
                taken = self.library.modbus_read_registers(at, start, count, words)
                values.append(list(words) if taken == count else None)
        self.library.modbus_close(at)
        self.library.modbus_free(at)
        return values


@unittest.skipUnless(ctypes.util.find_library("modbus"), "libmodbus is not installed")
@unittest.skipUnless(shutil.which("socat"), "socat is not installed")
class Modbus(GatewayTest):
    UNIT = 7

    def setUp(self):
        super().setUp()
        near, far = self.folder / "near", self.folder / "far"
        self.run_program("socat", f"pty,rawer,link={near}", f"pty,rawer,link={far}")
        until(lambda: near.exists() and far.exists(), "two pseudo-terminals")
        self.run_program(sys.executable, __file__, "--slave", str(far), str(self.UNIT))
        self.port = free_port()
        self.start(
            serial_pane(near), server_pane(self.port), Protocol=2, ModbusTransactionTimeoutMs=400,
            ModbusExceptions="true")
        until(lambda: listens(self.port), "the gateway listens")
        self.modbus = LibModbus()
        until(lambda: self.modbus.read(self.port, self.UNIT, [1], 1) == [[3]], "the slave answers")

    def test_four_connections_of_libmodbus(self):
        count = 10
        starts = [list(range(client, 900, 20)) for client in range(4)]
        results = [None] * 4

        def ask(client):
            results[client] = self.modbus.read(self.port, self.UNIT, starts[client], count)

        threads = [threading.Thread(target=ask, args=(client,)) for client in range(4)]
        for each in threads:
            each.start()
        for each in threads:
            each.join()
        for client in range(4):
            expected = [[3 * (start + i) for i in range(count)] for start in starts[client]]
            self.assertEqual(results[client], expected)
        self.stop()

    def test_pymodbus_reads_writes_and_hears_of_a_silent_unit(self):
        try:
            from pymodbus.client import ModbusTcpClient
        except ImportError:
            self.skipTest("pymodbus is not installed")
        client = ModbusTcpClient("127.0.0.1", port=self.port, timeout=PATIENCE)
        self.assertTrue(client.connect())
        with contextlib.closing(client):
            self.assertEqual(client.read_holding_registers(100, 3, slave=self.UNIT).registers,
                             [300, 303, 306])
            self.assertFalse(client.write_registers(100, [1, 65535], slave=self.UNIT).isError())
            self.assertEqual(client.read_holding_registers(100, 3, slave=self.UNIT).registers,
                             [1, 65535, 306])
            self.assertFalse(client.write_coil(5, True, slave=self.UNIT).isError())
            self.assertTrue(client.read_coils(5, 1, slave=self.UNIT).bits[0])
            # Illegal data address, from the slave; no answer of the target, from the gateway.
            self.assertEqual(
                client.read_holding_registers(2000, 1, slave=self.UNIT).exception_code, 0x02)
            self.assertEqual(
                client.read_holding_registers(0, 1, slave=self.UNIT + 1).exception_code, 0x0B)
            self.assertEqual(client.read_holding_registers(10, 1, slave=self.UNIT).registers, [30])
        self.stop()

    @unittest.skipUnless(shutil.which("mbpoll"), "mbpoll is not installed")
    def test_mbpoll_reads(self):
        said = subprocess.run(
            ["mbpoll", "-m", "tcp", "-p", str(self.port), "-a", str(self.UNIT), "-0", "-r", "20",
             "-c", "3", "-1", "127.0.0.1"],
            stdout=subprocess.PIPE, text=True, timeout=PATIENCE, check=True)
        values = [line.split()[1] for line in said.stdout.splitlines() if line.startswith("[")]
        self.assertEqual(values, ["60", "63", "66"])


if __name__ == "__main__":
    if sys.argv[1] == "--slave":
        LibModbus().serve(sys.argv[2], int(sys.argv[3]))
    GATEWAY = sys.argv.pop(1)
    unittest.main(verbosity=2)
