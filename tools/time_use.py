#!/usr/bin/env python3
"""Seconds a move each player spent over the first MOVES moves (default 40) of the games in
PGN files written by xboard, from the "{score/depth seconds}" comment after a move (book moves
have none and are not counted; a comment without a time counts as none spent).
Usage: tools/time_use.py [-m MOVES] FILE.pgn...   For the ladder: tools/time_use.py WORK/*/games.pgn"""
import re
import statistics
import sys

# The movetext's tokens: a comment, a move number, a result, or a move.
TOKEN = re.compile(r"\{([^}]*)\}|\d+\.+|1-0|0-1|1/2-1/2|\*|(\S+)")


def main(args):
    moves = 40
    if len(args) >= 2 and args[0] == "-m":
        moves, args = int(args[1]), args[2:]
    if not args:
        sys.exit(__doc__)
    spent = {}
    for path in args:
        with open(path, encoding="latin-1") as pgn:
            text = pgn.read()
        for game in re.split(r"\n(?=\[Event )", text):
            names = [re.search(r'\[%s "([^"]*)"' % tag, game) for tag in ("White", "Black")]
            if not all(names):
                continue
            plies = 0
            for comment, move in TOKEN.findall(re.sub(r"^\[.*$", "", game, flags=re.M)):
                if move:
                    plies += 1
                elif comment and 0 < plies <= 2 * moves:
                    found = re.search(r"/\d+ ([\d.]+)\s*$", comment)
                    spent.setdefault(names[(plies - 1) % 2].group(1), []).append(
                        float(found.group(1)) if found else 0.0)
    for name, times in sorted(spent.items()):
        print(f"{name:24} {statistics.mean(times):6.3f} s a move over {len(times)} moves")


main(sys.argv[1:])
