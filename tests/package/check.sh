#!/bin/sh
# The Debian package as a user meets it, as root: built, its files and lintian checked, installed
# with dpkg -i, played in an empty folder (xboard, UCI, a game inside xboard started by the plugin
# file's command), removed with dpkg -r on any exit, and nothing of it left behind.
set -eu
cd "$(dirname "$0")/../.."
root=$(pwd)
fail() { echo "FAILED: $*" >&2; exit 1; }
[ "$(id -u)" = 0 ] || fail "installing a package needs root"
known() { dpkg-query -W quillfern > /dev/null 2>&1; }
! known || fail "a quillfern package is on this machine: remove it first (dpkg -r quillfern)"
tools/packages.sh "cmake g++ make dpkg-dev file lintian xboard xvfb xauth xfonts-base fairymax"

version=$(sed -n 's/^project(quillfern VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
deb=$(tools/make_package.sh | tail -n 1)
[ "${deb##*/}" = "quillfern_$version-1_$(dpkg --print-architecture).deb" ] || fail "package $deb"
files=$(dpkg-deb -c "$deb" | awk '$1 !~ /^d/ { print $6 }' | sort | tr '\n' ' ')
[ "$files" = "./usr/games/quillfern ./usr/share/doc/quillfern/changelog.Debian.gz \
./usr/share/doc/quillfern/copyright ./usr/share/games/plugins/xboard/quillfern.eng \
./usr/share/games/quillfern/book.bin ./usr/share/games/quillfern/quillfern.ini \
./usr/share/man/man6/quillfern.6.gz " ] || fail "the package holds $files"
[ "$(dpkg-deb -f "$deb" Section)" = games ] && dpkg-deb -f "$deb" Depends | grep -q '^libc6 (>= ' ||
    fail "the package's section or dependencies"

work=$(mktemp -d)
leave() {
    if known; then dpkg -r quillfern > /dev/null; fi
    rm -rf "$work"
}
trap leave EXIT
trap 'exit 1' INT TERM HUP
lint=$(TMPDIR=$work lintian --fail-on error "$deb" 2>&1) || fail "lintian: $lint"
echo "$lint" | grep -v 'root privileges' | sed 's/^/lintian: /'
dpkg -i "$deb" > /dev/null
mkdir "$work/empty" "$work/opponent"
export HOME="$work/home"
unset XDG_DATA_HOME
cd "$work/empty"
printf 'xboard\nprotover 2\nnew\ngo\n' | /usr/games/quillfern > ../xboard 2> ../errors
grep -q '^0 0 0 0 (move from book)$' ../xboard && grep -q '^move [a-h][1-8][a-h][1-8]$' ../xboard ||
    fail "no book move in xboard mode: $(cat ../xboard ../errors)"
{
    printf 'uci\nsetoption name LogGame value true\nucinewgame\nposition fen %s\ngo depth 3\n' \
        'r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1'
    for _ in $(seq 100); do grep -q '^bestmove' ../uci && break || sleep 0.1; done
    echo quit
} | /usr/games/quillfern > ../uci 2>> ../errors
grep -q '^info depth 3 ' ../uci && grep -q '^bestmove [a-h][1-8][a-h][1-8]' ../uci ||
    fail "no search to depth 3 in UCI: $(cat ../uci ../errors)"
[ ! -s ../errors ] || fail "the engine complained: $(cat ../errors)"
[ -s "$HOME/.local/share/quillfern/quillfern.log" ] || fail "no game log in the user's data folder"
/usr/games/quillfern bench 6 classic | tail -n 2 | grep -q '^Nodes searched: 27162852$' ||
    fail "quillfern bench: not the classic signature"

# One game inside xboard, the engine started by its plugin file's command in xboard's folder
# with a user's PATH; both sides search 4 plies a move (quick, and no clock to lose on a busy
# machine).
. "$root/tests/gui/xboard.sh"
plugin=/usr/share/games/plugins/xboard/quillfern.eng
[ "$(sed -n '1p;3p' "$plugin" | tr '\n' ' ')" = "plugin spec 0.0 chess " ] || fail "$plugin"
PATH=/usr/local/bin:/usr/bin:/bin:/usr/games xboard_match "$work" 300 -fcp "$(sed -n 2p "$plugin")" \
    -scp fairymax -sd "$work/opponent" -secondComputerString "" -matchGames 1 -xexit \
    -searchDepth 4 -mps 40 -tc 5 -adjudicateDrawMoves 100 || fail "xboard ended with status $?"
grep -q '^\[White "quillfern' ../games.pgn && grep -q '^\[Result "\(1-0\|0-1\|1/2-1/2\)"\]' ../games.pgn ||
    fail "no game in xboard: $(cat ../xboard.out)"
! grep -q '^\[Result "0-1"' ../games.pgn || ! grep -v '^\[' ../games.pgn |
    grep -q -i -E 'on time|forfeit|illegal|exit|crash|error|unexpected' ||
    fail "quillfern lost off the board: $(grep -v '^\[' ../games.pgn | tail -n 3)"
[ -z "$(ls -A)" ] && [ "$(ls /usr/share/games/quillfern | tr '\n' ' ')" = "book.bin quillfern.ini " ] ||
    fail "the engine wrote into its working folder or its data folder"
man 6 quillfern 2> /dev/null | grep -q XDG_DATA_HOME || fail "man 6 quillfern"

dpkg -L quillfern > ../files
dpkg -r quillfern > /dev/null
! known || fail "dpkg still knows quillfern after dpkg -r"
while read -r path; do
    if [ "$path" != /. ] && [ -e "$path" ] && ! dpkg -S "$path" > /dev/null 2>&1; then
        fail "left behind by dpkg -r: $path"
    fi
done < ../files
echo "package passed: $(grep -h '^\[Result' ../games.pgn), lintian without errors"
