#!/usr/bin/env python3
"""A complete MCU: mcu.py SOCKET. It answers queries, accepts every command, and reports a mute that is asked for."""
import pathlib
import socket
import struct
import sys

HEADER = struct.Struct("<7i")  # size, command id, reply, report, 200, 3, packet number
CONTROL, QUERY, KEY, MIX = 8, 9, 12, 50
ANSWER, ACKNOWLEDGEMENT, REPORT, MIX_REPORT = 137, 136, 138, 178

# The records by their type, which is their first byte.
records = {
    # type, processor ready, main, maximum, navigation, call, voice, at power-on, mutes, fade and balance, gains, loudness
    0: bytes([0, 1, 12, 40, 18, 15, 20, 30, 0, 12, 12, 12, 12, 7, 6, 0]),
    1: bytes([1, 0, 0] + [gain for _ in range(7) for band in range(5) for gain in (10, 3 * band + 1, 1)]),
    2: bytes([2, 2, 13, 5, 16, 11]),  # two sources: their ids, each with its gain
    3: bytes([3, 1, 0]),
    4: bytes([4, 0, 0, 0]),
    5: bytes([5, 0]),
    7: bytes([7, 10, 11, 12, 13]),
}

pathlib.Path(sys.argv[1]).unlink(missing_ok=True)  # what an earlier run has left
listener = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
listener.bind(sys.argv[1])
listener.listen()
print("mcu: ready", flush=True)
while True:
    service, _ = listener.accept()
    while packet := service.recv(4096):
        number = HEADER.unpack_from(packet)[6]
        command, *payload = packet[HEADER.size:]
        if command == QUERY:
            reply = bytes([ANSWER, 0]) + records[payload[0]]
        elif command == CONTROL:  # payload: 2, then a record
            records[payload[1]] = bytes(payload[1:])
            reply = bytes([ACKNOWLEDGEMENT, 0])
        elif command == MIX:
            reply = bytes([MIX_REPORT, payload[0]])
        else:  # KEY; payload: 160, 1 mute or 0 unmute, 0 system or 4 source
            record = bytearray(records[0])
            bit = 1 if payload[2] == 0 else 2
            record[8] = record[8] | bit if payload[1] else record[8] & ~bit
            records[0] = bytes(record)
            reply = bytes([REPORT, 0]) + records[0]
        service.send(HEADER.pack(len(reply), reply[0], 0, 0, 200, 3, number) + reply)
