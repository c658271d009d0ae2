"""Serves one serial port over RFC 2217 with pyserial's server side, until the client leaves.

usage: rfc2217server.py DEVICE; prints the TCP port of 127.0.0.1 that it listens on.
"""
import socket
import sys
import threading

import serial
import serial.rfc2217


class Connection:
    def __init__(self, stream):
        self.stream = stream
        self.lock = threading.Lock()

    def write(self, data):
        with self.lock:
            self.stream.sendall(data)


def forward(port, manager, connection):
    while True:
        data = port.read(port.in_waiting or 1)
        connection.write(b"".join(manager.escape(data)))
        manager.check_modem_lines()


def main():
    port = serial.serial_for_url(sys.argv[1], timeout=0.02)
    port.dtr = port.rts = False
    with socket.create_server(("127.0.0.1", 0)) as listener:
        print(listener.getsockname()[1], flush=True)
        stream, _ = listener.accept()
    stream.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    connection = Connection(stream)
    manager = serial.rfc2217.PortManager(port, connection)
    threading.Thread(target=forward, args=(port, manager, connection), daemon=True).start()
    while data := stream.recv(4096):
        port.write(b"".join(manager.filter(data)))


main()
