"""Makes recordings that no session leaves, from one of examples/recordings: craft_recordings.py REFUSALS."""
import sys

BEGUN, HEAD, FIRST_NOTE, NOTE, RECORD = 272, 32, 16384, 96, 196  # offsets and sizes of the format
BOOT, CLOCK = 80, 61


def write(name, recording):
    with open(name + ".mrec", "wb") as file:
        file.write(recording)


recording = open(sys.argv[1], "rb").read()

kinds = bytearray(recording)
kinds[FIRST_NOTE + 8] = 9
write("kinds", kinds)  # the first note has an unknown kind

moved = bytearray(recording)
moved[CLOCK] += 1
write("set_clock", moved)  # the wall clock was set back after this process began
moved[BOOT] = ord("X")
write("boot", moved)  # another boot

note = recording[FIRST_NOTE : FIRST_NOTE + NOTE + RECORD]
died = bytearray(recording)
died[BEGUN : BEGUN + 48] = note[16:40] + note[48:60] + note[68:80]
died[BEGUN + 48 : BEGUN + 48 + RECORD] = note[NOTE:]
died[HEAD : HEAD + 8] = bytes(8)
write("died", died)  # the process died in its first call
