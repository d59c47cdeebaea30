#!/usr/bin/env python3
"""Prints the entries of a Polyglot opening book, one per line: "key_hex move weight".

    dump_book.py BOOK.bin              every entry, in file order
    dump_book.py BOOK.bin --key KEY    only the entries of one key (16 hex digits)

An entry is 16 bytes, big-endian: key (u64), move (u16), weight (u16), learn (u32, not
shown). The move is printed as stored, in coordinates from White's side: origin square,
destination square, then the promotion piece letter if any (bits 0-2 destination file,
3-5 destination rank, 6-8 origin file, 9-11 origin rank, 12-14 promotion: 1 n, 2 b, 3 r,
4 q). Castling stays as the file writes it, the king onto its own rook: e1h1, e1a1, e8h8,
e8a8. The key is printed as 16 lower-case hex digits.

The exit status is 1 when the file does not hold whole entries or its keys are not in
ascending order (the entries that could be read are printed all the same).
Standard library only, so that it runs wherever python3 does.
"""

import argparse
import struct
import sys

ENTRY = struct.Struct(">QHHI")
PROMOTION = " nbrq"


def move_text(move):
    """Coordinate text of a move field, castling left as king-takes-own-rook."""
    to_file, to_rank = move & 7, (move >> 3) & 7
    from_file, from_rank = (move >> 6) & 7, (move >> 9) & 7
    promotion = (move >> 12) & 7
    text = "%s%d%s%d" % ("abcdefgh"[from_file], from_rank + 1, "abcdefgh"[to_file], to_rank + 1)
    if promotion:
        if promotion >= len(PROMOTION):
            raise ValueError("move %#06x has promotion field %d" % (move, promotion))
        text += PROMOTION[promotion]
    return text


def read_entries(path):
    """Returns (entries, problems): the (key, move, weight, learn) tuples in file order
    and a list of messages about a torn last entry or keys out of order."""
    with open(path, "rb") as f:
        data = f.read()
    problems = []
    whole = len(data) - len(data) % ENTRY.size
    if whole != len(data):
        problems.append("%s: %d trailing bytes after the last whole entry" % (path, len(data) - whole))
    entries = [ENTRY.unpack_from(data, offset) for offset in range(0, whole, ENTRY.size)]
    for index in range(1, len(entries)):
        if entries[index][0] < entries[index - 1][0]:
            problems.append("%s: entry %d has a smaller key than the entry before it" % (path, index))
            break
    return entries, problems


def entry_line(entry):
    key, move, weight, _learn = entry
    return "%016x %s %d" % (key, move_text(move), weight)


def main(argv=None):
    parser = argparse.ArgumentParser(description="Print the entries of a Polyglot book.")
    parser.add_argument("book", help="the .bin file")
    parser.add_argument("--key", help="print only the entries of this key (hex)")
    args = parser.parse_args(argv)

    entries, problems = read_entries(args.book)
    wanted = int(args.key, 16) if args.key is not None else None
    out = sys.stdout
    for entry in entries:
        if wanted is None or entry[0] == wanted:
            out.write(entry_line(entry) + "\n")
    for message in problems:
        print(message, file=sys.stderr)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
