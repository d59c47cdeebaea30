#!/usr/bin/env python3
"""Writes tests/data/small_book_expected.txt: for a few positions of the small test book,
their FEN, their book key and the entries small_book.bin holds for that key.

    gen_small_expected.py            rewrite small_book_expected.txt
    gen_small_expected.py --check    compare with the committed file instead (exit 1 on a difference)

Each position is given by its moves from the start position. The FEN comes from replaying
those moves with the small move applier below. The key comes from polyglot itself, without
any table of random numbers here: make-book is run on the moves alone and on the moves plus
one more ("probe") move, and the one key the second book has beyond the first is the key of
the position. The entries are read from small_book.bin with dump_book.py. Needs python3 and
polyglot; run make_small_book.sh first.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
sys.dont_write_bytecode = True  # keep tools/ free of __pycache__
import dump_book  # noqa: E402

DATA = os.path.join(HERE, "..", "tests", "data")
BOOK = os.path.join(DATA, "small_book.bin")
EXPECTED = os.path.join(DATA, "small_book_expected.txt")

# name, moves from the start position, a legal move in the final position (only used to
# find the key), what the position shows.
POSITIONS = [
    ("start", "", "e4",
     "start position, White to move: four first moves of different weights"),
    ("after_e4", "e4", "e5",
     "Black to move with three book moves; the FEN has an e.p. square the key ignores"),
    ("after_e4_e5_Nf3", "e4 e5 Nf3", "Nc6",
     "Black to move, two book moves of different weights"),
    ("after_e4_e5_Nf3_Nc6_Bb5", "e4 e5 Nf3 Nc6 Bb5", "a6",
     "Black to move, two book moves of equal weight"),
    ("ruy_white_castles", "e4 e5 Nf3 Nc6 Bb5 a6 Ba4 Nf6", "O-O",
     "White's book move is castling king-side, stored as e1h1"),
    ("kid_black_castles", "d4 Nf6 c4 g6 Nc3 Bg7 e4 d6 Nf3", "O-O",
     "Black's book move is castling king-side, stored as e8h8"),
    ("qgd_order_d5_first", "d4 d5 c4 e6 Nc3 Nf6", "Bg5",
     "reached by two move orders: the weight counts both lines"),
    ("qgd_order_nf6_first", "d4 Nf6 c4 e6 Nc3 d5", "Bg5",
     "same position as qgd_order_d5_first (same key), FEN with an e.p. square the key ignores"),
    ("after_d4_Nf6_c4", "d4 Nf6 c4", "g6",
     "Black to move, three book moves of equal weight"),
    ("benoni_en_passant", "d4 Nf6 c4 c5 d5 e5", "Nc3",
     "d5xe6 e.p. is possible, so the e.p. file is part of the key"),
    ("ruy_end_of_line", "e4 e5 Nf3 Nc6 Bb5 a6 Ba4 Nf6 O-O Be7", "Re1",
     "the last position of a line: not in the book"),
    ("black_queen_side_only", "e4 h5 d4 Rh6", "Nf3",
     "Black keeps only its queen-side right, White to move: not in the book"),
    ("black_king_side_only", "e4 a5 d4 Ra6 Nf3", "Rg6",
     "Black keeps only its king-side right, Black to move: not in the book"),
]

HEADER = """\
# Expected entries of tests/data/small_book.bin for selected positions.
# small_book.bin is built from small_openings.pgn by make_small_book.sh; this file is
# written by tools/gen_small_expected.py (which uses tools/dump_book.py): do not edit it by hand.
#
# Lines starting with '#' are comments; blank lines only separate blocks. One block per position:
#   position NAME        a short name without spaces
#   about TEXT           what the position shows (free text to the end of the line)
#   moves SAN...         the moves from the start position ("moves -" for none)
#   fen FEN              the position as standard FEN; the e.p. square is written after
#                        every double pawn step, but it enters the key only when a pawn
#                        of the side to move can capture there
#   key KEY              the position's book key, 16 lower-case hex digits
#   entries N            how many entries the book holds for the key (0: not in the book)
#   KEY MOVE WEIGHT      N lines, in file order, exactly as dump_book.py prints them: MOVE is the
#                        stored move in coordinates (castling as the king onto its own rook:
#                        e1h1 e1a1 e8h8 e8a8; a promotion adds n, b, r or q), WEIGHT in decimal
#   first MOVE           the first entry's move as the engine plays it (castling as e1g1 e1c1
#                        e8g8 e8c8), "-" when there are no entries
"""

# --- a small move applier: enough to replay correct SAN and print FEN ---------------------

FILES = "abcdefgh"
KNIGHT = [(1, 2), (2, 1), (2, -1), (1, -2), (-1, -2), (-2, -1), (-2, 1), (-1, 2)]
KING = [(1, 0), (1, 1), (0, 1), (-1, 1), (-1, 0), (-1, -1), (0, -1), (1, -1)]
ROOK_DIRS = [(1, 0), (-1, 0), (0, 1), (0, -1)]
BISHOP_DIRS = [(1, 1), (1, -1), (-1, 1), (-1, -1)]
SAN = re.compile(r"^([NBRQK])?([a-h])?([1-8])?(x)?([a-h][1-8])(?:=([NBRQ]))?([+#])?$")


def square(name):
    return FILES.index(name[0]), int(name[1]) - 1


def square_name(sq):
    return FILES[sq[0]] + str(sq[1] + 1)


class Position:
    def __init__(self):
        self.board = {}
        for f, piece in enumerate("RNBQKBNR"):
            self.board[(f, 0)] = piece
            self.board[(f, 1)] = "P"
            self.board[(f, 6)] = "p"
            self.board[(f, 7)] = piece.lower()
        self.white = True
        self.castling = "KQkq"
        self.ep = None
        self.halfmove = 0
        self.fullmove = 1

    def own(self, piece):
        return piece is not None and piece.isupper() == self.white

    def attacks(self, frm, to):
        """Whether the piece on frm attacks (or, for a pawn, captures onto) to."""
        piece = self.board[frm].upper()
        white = self.board[frm].isupper()
        df, dr = to[0] - frm[0], to[1] - frm[1]
        if piece == "P":
            return abs(df) == 1 and dr == (1 if white else -1)
        if piece == "N":
            return (df, dr) in KNIGHT
        if piece == "K":
            return (df, dr) in KING
        dirs = {"R": ROOK_DIRS, "B": BISHOP_DIRS, "Q": ROOK_DIRS + BISHOP_DIRS}[piece]
        for sf, sr in dirs:
            f, r = frm[0] + sf, frm[1] + sr
            while 0 <= f < 8 and 0 <= r < 8:
                if (f, r) == to:
                    return True
                if (f, r) in self.board:
                    break
                f, r = f + sf, r + sr
        return False

    def attacked(self, sq, by_white):
        return any(p.isupper() == by_white and self.attacks(s, sq) for s, p in self.board.items())

    def in_check(self, white):
        king = next(s for s, p in self.board.items() if p == ("K" if white else "k"))
        return self.attacked(king, not white)

    def can_reach(self, frm, to, capture):
        piece = self.board[frm].upper()
        if piece != "P":
            return self.attacks(frm, to)
        step = 1 if self.white else -1
        if capture:
            return self.attacks(frm, to) and (to in self.board or to == self.ep)
        if to[0] != frm[0] or to in self.board:
            return False
        if to[1] - frm[1] == step:
            return True
        start = 1 if self.white else 6
        return frm[1] == start and to[1] - frm[1] == 2 * step and (frm[0], frm[1] + step) not in self.board

    def play(self, san):
        castle = san.rstrip("+#")
        if castle in ("O-O", "O-O-O"):
            self.castle(castle == "O-O")
        else:
            self.play_piece_move(san)
        mark = san[-1] if san[-1] in "+#" else ""
        if bool(mark) != self.in_check(self.white):
            raise ValueError("%s: check mark does not match the position" % san)

    def castle(self, king_side):
        rank = 0 if self.white else 7
        right = ("K" if king_side else "Q") if self.white else ("k" if king_side else "q")
        if right not in self.castling:
            raise ValueError("castling right %s is gone" % right)
        rook_file, king_to, rook_to = (7, 6, 5) if king_side else (0, 2, 3)
        between = range(5, 7) if king_side else range(1, 4)
        if any((f, rank) in self.board for f in between):
            raise ValueError("castling through pieces")
        for f in (4, (5 if king_side else 3), king_to):
            if self.attacked((f, rank), not self.white):
                raise ValueError("castling through or out of check")
        del self.board[(4, rank)]
        del self.board[(rook_file, rank)]
        self.board[(king_to, rank)] = "K" if self.white else "k"
        self.board[(rook_to, rank)] = "R" if self.white else "r"
        self.castling = "".join(c for c in self.castling if c.isupper() != self.white)
        self.finish(reset_clock=False, ep=None)

    def play_piece_move(self, san):
        m = SAN.match(san)
        if not m:
            raise ValueError("cannot read %r" % san)
        kind, from_file, from_rank, capture, to_name, promotion, _ = m.groups()
        kind = kind or "P"
        to = square(to_name)
        if capture and to != self.ep and not (to in self.board and not self.own(self.board[to])):
            raise ValueError("%s: nothing to capture" % san)
        if not capture and to in self.board:
            raise ValueError("%s: destination occupied" % san)
        candidates = []
        for frm, piece in list(self.board.items()):
            if not self.own(piece) or piece.upper() != kind:
                continue
            if from_file and frm[0] != FILES.index(from_file):
                continue
            if from_rank and frm[1] != int(from_rank) - 1:
                continue
            if self.can_reach(frm, to, bool(capture)) and self.legal_after(frm, to):
                candidates.append(frm)
        if len(candidates) != 1:
            raise ValueError("%s: %d pieces fit" % (san, len(candidates)))
        frm = candidates[0]
        piece = self.board.pop(frm)
        if kind == "P" and to == self.ep:
            del self.board[(to[0], frm[1])]
        self.board[to] = piece
        last_rank = 7 if self.white else 0
        if kind == "P" and to[1] == last_rank:
            if not promotion:
                raise ValueError("%s: promotion piece missing" % san)
            self.board[to] = promotion if self.white else promotion.lower()
        for sq, right in (((4, 0), "KQ"), ((0, 0), "Q"), ((7, 0), "K"),
                          ((4, 7), "kq"), ((0, 7), "q"), ((7, 7), "k")):
            if sq in (frm, to):
                self.castling = "".join(c for c in self.castling if c not in right)
        double = kind == "P" and abs(to[1] - frm[1]) == 2
        self.finish(reset_clock=kind == "P" or bool(capture),
                    ep=(frm[0], (frm[1] + to[1]) // 2) if double else None)

    def legal_after(self, frm, to):
        saved = dict(self.board)
        piece = self.board.pop(frm)
        if piece.upper() == "P" and to == self.ep:
            self.board.pop((to[0], frm[1]), None)
        self.board[to] = piece
        legal = not self.in_check(self.white)
        self.board = saved
        return legal

    def finish(self, reset_clock, ep):
        self.halfmove = 0 if reset_clock else self.halfmove + 1
        if not self.white:
            self.fullmove += 1
        self.white = not self.white
        self.ep = ep

    def fen(self):
        rows = []
        for rank in range(7, -1, -1):
            row, empty = "", 0
            for f in range(8):
                piece = self.board.get((f, rank))
                if piece is None:
                    empty += 1
                    continue
                if empty:
                    row += str(empty)
                    empty = 0
                row += piece
            rows.append(row + (str(empty) if empty else ""))
        return "%s %s %s %s %d %d" % ("/".join(rows), "w" if self.white else "b",
                                      self.castling or "-",
                                      square_name(self.ep) if self.ep else "-",
                                      self.halfmove, self.fullmove)


# --- keys from polyglot -------------------------------------------------------------------

def find_polyglot():
    found = os.environ.get("POLYGLOT") or shutil.which("polyglot")
    if not found and os.access("/usr/games/polyglot", os.X_OK):
        found = "/usr/games/polyglot"
    if not found:
        sys.exit("gen_small_expected.py: polyglot not found (Debian: apt-get install -y polyglot)")
    return found


def book_keys(polyglot, moves, workdir):
    """The set of keys make-book stores for one game made of these SAN moves."""
    if not moves:
        return set()
    text = " ".join(("%d. %s" % (i // 2 + 1, m)) if i % 2 == 0 else m for i, m in enumerate(moves))
    pgn = os.path.join(workdir, "line.pgn")
    binary = os.path.join(workdir, "line.bin")
    with open(pgn, "w") as f:
        f.write('[Event "?"]\n[Site "?"]\n[Date "????.??.??"]\n[Round "?"]\n'
                '[White "?"]\n[Black "?"]\n[Result "*"]\n\n%s *\n\n' % text)
    if os.path.exists(binary):
        os.remove(binary)
    log = subprocess.run([polyglot, "make-book", "-pgn", pgn, "-bin", binary, "-min-game", "1"],
                         cwd=workdir, capture_output=True, text=True)
    if "error" in (log.stdout + log.stderr).lower() or not os.path.exists(binary):
        sys.exit("polyglot failed on %s:\n%s%s" % (text, log.stdout, log.stderr))
    entries, problems = dump_book.read_entries(binary)
    if problems:
        sys.exit("\n".join(problems))
    return {entry[0] for entry in entries}


def key_of(polyglot, moves, probe, workdir):
    extra = book_keys(polyglot, moves + [probe], workdir) - book_keys(polyglot, moves, workdir)
    if len(extra) != 1:
        sys.exit("cannot single out the key after %s" % " ".join(moves))
    return extra.pop()


def played_text(move):
    castling = {"e1h1": "e1g1", "e1a1": "e1c1", "e8h8": "e8g8", "e8a8": "e8c8"}
    return castling.get(move, move)


def render():
    polyglot = find_polyglot()
    entries, problems = dump_book.read_entries(BOOK)
    if problems:
        sys.exit("\n".join(problems))
    out = [HEADER]
    with tempfile.TemporaryDirectory() as workdir:
        for name, moves_text, probe, about in POSITIONS:
            moves = moves_text.split()
            position = Position()
            for san in moves:
                position.play(san)
            Position.play(_copy(position), probe)  # the probe move must be legal too
            key = key_of(polyglot, moves, probe, workdir)
            mine = [e for e in entries if e[0] == key]
            out.append("")
            out.append("position %s" % name)
            out.append("about %s" % about)
            out.append("moves %s" % (moves_text or "-"))
            out.append("fen %s" % position.fen())
            out.append("key %016x" % key)
            out.append("entries %d" % len(mine))
            out.extend(dump_book.entry_line(e) for e in mine)
            out.append("first %s" % (played_text(dump_book.move_text(mine[0][1])) if mine else "-"))
    return "\n".join(out) + "\n"


def _copy(position):
    clone = Position.__new__(Position)
    clone.__dict__.update(position.__dict__)
    clone.board = dict(position.board)
    return clone


def main():
    text = render()
    if sys.argv[1:] == ["--check"]:
        with open(EXPECTED) as f:
            if f.read() != text:
                sys.exit("small_book_expected.txt is out of date; rerun gen_small_expected.py")
        print("small_book_expected.txt is up to date")
    elif sys.argv[1:]:
        sys.exit("usage: gen_small_expected.py [--check]")
    else:
        with open(EXPECTED, "w") as f:
            f.write(text)
        print("wrote %s" % EXPECTED)


if __name__ == "__main__":
    main()
