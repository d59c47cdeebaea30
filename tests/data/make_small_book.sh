#!/usr/bin/env bash
# Rebuilds tests/data/small_book.bin from tests/data/small_openings.pgn, the same way
# play/make_book.sh builds the engine's book (same checks, same make-book options), with
# line-length bounds that fit these short lines. Pass --check to compare instead of write.
# After a rebuild, regenerate small_book_expected.txt with tools/gen_small_expected.py.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
exec "$here/../../play/make_book.sh" "$@" --min-ply 4 --max-ply 12 \
    "$here/small_openings.pgn" "$here/small_book.bin"
