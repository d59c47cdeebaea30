#!/usr/bin/env python3
"""How closely the engine keeps to "go movetime" in UCI: the time from writing "go movetime MS"
to reading "bestmove", after a clocked search each time (whose clock must not carry over).

    bench/uci_movetime.py ENGINE [RUNS [MS [STYLE]]]   (defaults: 7 runs, 1500 ms, classic)

Prints each run and the median and largest difference from MS in milliseconds."""
import subprocess
import sys
import time

engine = sys.argv[1]
runs = int(sys.argv[2]) if len(sys.argv) > 2 else 7
movetime = int(sys.argv[3]) if len(sys.argv) > 3 else 1500
style = sys.argv[4] if len(sys.argv) > 4 else "classic"
p = subprocess.Popen([engine], stdin=subprocess.PIPE, stdout=subprocess.PIPE, bufsize=0)


def send(line):
    p.stdin.write((line + "\n").encode())


def read_until(prefix):
    while True:
        line = p.stdout.readline().decode()
        if not line or line.startswith(prefix):
            return line


send("uci")
read_until("uciok")
send("setoption name Book value false")
send("setoption name Style value " + style)
differences = []
for i in range(runs):
    send("position startpos moves e2e4 e7e5" if i % 2 else "position startpos")
    send("go wtime 1000 btime 1000")
    read_until("bestmove")
    send("isready")
    read_until("readyok")
    start = time.perf_counter()
    send("go movetime %d" % movetime)
    read_until("bestmove")
    took = (time.perf_counter() - start) * 1000
    differences.append(took - movetime)
    print("run %d: bestmove after %.1f ms" % (i + 1, took))
send("quit")
p.wait()
ordered = sorted(differences)
print("movetime %d ms, %s: bestmove %+.1f ms from it (median of %d), %+.1f ms at most"
      % (movetime, style, ordered[len(ordered) // 2], runs, max(differences, key=abs)))
