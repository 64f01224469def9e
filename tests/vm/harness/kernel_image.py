"""Convert a compressed kernel of Debian into an image that the emulator starts without decompressing it again.

Usage: kernel_image.py VMLINUZ IMAGE

For x86-64 the image is the ELF file, for ARM the plain image behind the header of a boot loader.
"""

import lzma
import pathlib
import struct
import sys
import zlib

XZ_MAGIC = b"\xfd7zXZ\0"
RAM_START = 0x40000000
LOAD_ADDRESS = RAM_START + 0x208000  # + 0x8000, the usual one, does not start
LINUX, ARM, KERNEL, UNCOMPRESSED = 5, 2, 2, 0


def payload(compressed: bytes) -> bytes:
    """Return the largest XZ stream; the decompressor contains the magic number, too."""
    found = []
    start = compressed.find(XZ_MAGIC)
    while start >= 0:
        try:
            found.append(lzma.LZMADecompressor().decompress(compressed[start:]))
        except lzma.LZMAError:
            pass
        start = compressed.find(XZ_MAGIC, start + 1)
    return max(found, key=len)


def with_header(image: bytes) -> bytes:
    """Return the image with a 64-byte header of the format uImage."""
    fields = (0x27051956, 0, 0, len(image), LOAD_ADDRESS, LOAD_ADDRESS, zlib.crc32(image), LINUX, ARM, KERNEL,
              UNCOMPRESSED, b"Linux")
    header = struct.pack(">7I4B32s", *fields)
    fields = (fields[0], zlib.crc32(header)) + fields[2:]
    return struct.pack(">7I4B32s", *fields) + image


def main(source: str, target: str) -> None:
    image = payload(pathlib.Path(source).read_bytes())
    is_elf = image.startswith(b"\x7fELF")
    pathlib.Path(target).write_bytes(image if is_elf else with_header(image))


if __name__ == "__main__":
    main(*sys.argv[1:])
