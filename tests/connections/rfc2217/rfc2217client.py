"""pyserial for a test to drive: runs each line of the standard input as a statement of Python and
prints one line for it, "ok" or what went wrong.
"""
import sys

import serial
import serial.rfc2217

for statement in sys.stdin:
    try:
        exec(statement)
        print("ok", flush=True)
    except Exception as error:
        print(repr(error), flush=True)
