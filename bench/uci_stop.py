#!/usr/bin/env python3
"""How soon the engine answers in UCI: the time from writing "stop" after "go infinite" to
reading "bestmove", over repeated searches of a few positions; then how closely it keeps to "go
movetime MS" after a clocked search each time (whose clock must not carry over).

    bench/uci_stop.py ENGINE [RUNS [STYLE [MS]]]
    (RUNS default 20; each infinite search runs half a second first; STYLE classic or strong,
    default classic; MS default 1500, measured RUNS / 3 times, at least 3)

Prints the median and the largest delay of "stop", and the median and largest difference from
MS of "movetime", in milliseconds."""
import queue
import subprocess
import sys
import threading
import time

engine = sys.argv[1]
runs = int(sys.argv[2]) if len(sys.argv) > 2 else 20
style = sys.argv[3] if len(sys.argv) > 3 else "classic"
movetime = int(sys.argv[4]) if len(sys.argv) > 4 else 1500
positions = ["startpos", "startpos moves e2e4 e7e5",
             "fen r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1"]
p = subprocess.Popen([engine], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
# A thread reads every line as it comes, with the time it came: what the engine printed while
# searching is not read after "stop" and counted against it.
lines = queue.Queue()


def read_lines():
    for raw in p.stdout:
        lines.put((time.perf_counter(), raw.decode()))
    lines.put((time.perf_counter(), ""))


threading.Thread(target=read_lines, daemon=True).start()


def send(line):
    p.stdin.write((line + "\n").encode())
    p.stdin.flush()


def read_until(prefix):
    """The time the first line that starts with prefix came (or the end of the output)."""
    while True:
        arrived, line = lines.get()
        if not line or line.startswith(prefix):
            return arrived


def timed(line, prefix="bestmove"):
    """Milliseconds from writing line to the arrival of a line that starts with prefix."""
    start = time.perf_counter()
    send(line)
    return (read_until(prefix) - start) * 1000


send("uci")
read_until("uciok")
send("setoption name Book value false")
send("setoption name Style value " + style)
delays = []
for i in range(runs):
    send("position " + positions[i % len(positions)])
    send("isready")
    read_until("readyok")
    send("go infinite")
    time.sleep(0.5)
    delays.append(timed("stop"))
differences = []
for i in range(max(3, runs // 3)):
    send("position " + positions[i % len(positions)])
    send("go wtime 1000 btime 1000")
    read_until("bestmove")
    send("isready")
    read_until("readyok")
    differences.append(timed("go movetime %d" % movetime) - movetime)
send("quit")
p.wait()
delays.sort()
differences.sort()
print("%s: stop answered in %.2f ms (median of %d), %.2f ms at most"
      % (style, delays[len(delays) // 2], len(delays), delays[-1]))
print("%s: movetime %d kept to %+.2f ms (median of %d), %+.2f ms at most; status %d"
      % (style, movetime, differences[len(differences) // 2], len(differences),
         max(differences, key=abs), p.returncode))
