#!/usr/bin/env python3
"""How soon the engine answers "stop" with "bestmove" in UCI: the time from writing "stop" after
"go infinite" to reading "bestmove", over repeated searches of a few positions.

    bench/uci_stop.py ENGINE [RUNS]     (RUNS default 20; each search runs half a second first)

Prints the median and the largest delay in milliseconds."""
import subprocess
import sys
import time

engine = sys.argv[1]
runs = int(sys.argv[2]) if len(sys.argv) > 2 else 20
positions = ["startpos", "startpos moves e2e4 e7e5",
             "fen r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1"]
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
delays = []
for i in range(runs):
    send("position " + positions[i % len(positions)])
    send("isready")
    read_until("readyok")
    send("go infinite")
    time.sleep(0.5)
    start = time.perf_counter()
    send("stop")
    read_until("bestmove")
    delays.append((time.perf_counter() - start) * 1000)
send("quit")
p.wait()
delays.sort()
print("stop answered in %.2f ms (median of %d), %.2f ms at most; engine ended with status %d"
      % (delays[len(delays) // 2], runs, delays[-1], p.returncode))
