#!/usr/bin/env python3
"""Positions for the evaluation's fit from the games of the match script's tests (quillfern against
itself, so that every score is on its scale).

    pgn-extract --fencomments -s GAMES.pgn... | tools/pgn_positions.py > OUT

Reads the games as pgn-extract writes them with a FEN comment after every move, and prints
"FEN RESULT SCORE" a line for each position an engine's searched move led to, RESULT the game's
(1, 0.5 or 0 for White) and SCORE what that search found, in hundredths of a pawn for White.
A position is kept when its side to move is not in check, the move played from it (the other
side's searched choice) is no capture or promotion and gives no check, and the score lies
within MAX_SCORE; the book moves (no score comment) and the positions after them are left out.
"""
import re
import sys

MAX_SCORE = 2000  # hundredths of a pawn; beyond it a game is decided, or a mate announced
RESULTS = {"1-0": "1", "0-1": "0", "1/2-1/2": "0.5"}
SCORE = re.compile(r"^([-+]?\d+(?:\.\d+)?)/\d+")
TOKEN = re.compile(r"\{[^}]*\}|\[[^\]]*\]|\S+")
NUMBER = re.compile(r"^\d+\.+(.*)$")


def moves_of(movetext):
    """(san, score comment or None, fen) for every move of a game."""
    moves = []
    for token in TOKEN.findall(movetext):
        if token.startswith("{"):
            body = token[1:-1].strip()
            if not moves:
                continue
            if body.count("/") == 7 and " " in body:
                moves[-1][2] = body
            elif SCORE.match(body):
                moves[-1][1] = body
            continue
        if token.startswith("[") or token in RESULTS or token == "*":
            continue
        number = NUMBER.match(token)
        if number:
            token = number.group(1)
            if not token:
                continue
        moves.append([token, None, None])
    return moves


def positions_of(result, movetext):
    moves = moves_of(movetext)
    for index, (san, comment, fen) in enumerate(moves[:-1]):
        if comment is None or fen is None or "+" in san or "#" in san:
            continue
        following = moves[index + 1][0]
        if "x" in following or "=" in following or "+" in following or "#" in following:
            continue
        score = round(float(SCORE.match(comment).group(1)) * 100)
        white_moved = fen.split()[1] == "b"
        score = score if white_moved else -score
        if abs(score) <= MAX_SCORE:
            yield f"{fen} {result} {score}"


def main():
    result, movetext = None, []
    for line in sys.stdin.read().splitlines() + ["[Event"]:
        if line.startswith("[Event"):
            if result is not None:
                for out in positions_of(result, " ".join(movetext)):
                    print(out)
            result, movetext = None, []
        elif line.startswith("[Result "):
            result = RESULTS.get(line.split('"')[1])
        elif not line.startswith("["):
            movetext.append(line)


if __name__ == "__main__":
    main()
