#!/bin/sh
# Looks at what songbin shows: JSON that is valid whatever a name holds, colours and question marks for terminals only,
# errors that name the path, and a manual page and a completion that know every command. And at a batch that is interrupted.
# usage: songbin.sh PROGRAM
set -eu
songbin=$(realpath "$1")
sources=$(realpath "$(dirname "$0")/../../examples/songbin")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
XDG_DATA_HOME=$work/data
export XDG_DATA_HOME
unset NO_COLOR
escape=$(printf '\033')

fail() {
    echo "songbin: $1" >&2
    exit 1
}

mkdir take
printf 12345 >take/a.wav
odd=$(printf 'ta\tb "quoted" \001\177 \303\244')
: >"$odd"
broken=$(printf 'broken \377\300\200\355\240\200')
: >"$broken"

"$songbin" put take "$odd" >output 2>&1 || fail "put: $(cat output)"
"$songbin" list --json >list.json
"$songbin" info --json . "$broken" "$(printf 'line\nbreak')" >info.json
python3 - "$odd" <<'EOF' || fail "list and info --json are not what they should be"
import json, sys
items = {item["name"]: item for item in json.load(open("list.json", encoding="utf-8"))}
assert set(items) == {"take", sys.argv[1]}, items
assert items["take"]["size"] == 5 and items["take"]["kind"] == "folder" and items["take"]["canGoBack"] is True
facts = json.load(open("info.json", encoding="utf-8"))
assert facts[0]["folder"] is True and facts[0]["freeSpace"] > 0
assert facts[1]["path"].endswith("/broken " + "\ufffd" * 6) and facts[1]["exists"] is False
assert facts[2]["path"].endswith("/line\nbreak")
EOF
"$songbin" list --names | grep -Fqx "$odd" || fail "list --names changes a name"
"$songbin" list --null | grep -Fqxz "$odd" || fail "list --null changes a name"

on_terminal() { TERM=xterm script -qec "$*" /dev/null; }
"$songbin" list | grep -q "$escape" && fail "colours in a pipe"
if on_terminal true; then
    on_terminal "'$songbin' list" | grep -q "$escape" || fail "no colours on a terminal"
    on_terminal "'$songbin' list --names" | grep -q 'ta?b "quoted" ?? ä' || fail "control characters on a terminal"
    NO_COLOR=1 on_terminal "'$songbin' list" | grep -q "$escape" && fail "colours in spite of NO_COLOR"
else
    echo "the system gives no terminal, so colours were not looked at"
fi

"$songbin" put missing >/dev/null 2>output && fail "put of a missing file is a success"
grep -Fq "cannot move \"missing\" into the trash: there is nothing at $work/missing" output || fail "$(cat output)"
"$songbin" restore take >/dev/null || fail "the folder does not come back"
[ "$(cat take/a.wav)" = 12345 ] || fail "the folder came back without its file"

"$songbin" put . take/.. >output 2>&1 && fail "put of the current folder is a success"
[ "$(grep -c 'it is the current folder or holds it' output)" = 2 ] || fail "$(cat output)"

# The pipe for errors is full, so the complaint about the second operand holds songbin up between two items.
: >first
: >last
mkfifo errors
exec 3<>errors
head -c 65536 /dev/zero >&3
"$songbin" put first missing last >/dev/null 2>errors &
while [ -e first ]; do sleep 0.01; done
kill -TERM $!
head -c 65536 <&3 >/dev/null
wait $! && fail "an interrupted put is a success"
[ -e last ] || fail "put goes on after an interrupt"
"$songbin" restore first >/dev/null || fail "an interrupted put loses the way back"

"$songbin" --version | grep -qx 'songbin [0-9]*\.[0-9]*\.[0-9]*' || fail "no version"
"$songbin" put 2>output && fail "wrong usage is a success"
[ "$(wc -l <output)" = 2 ] || fail "wrong usage gives more than its reason and a line: $(cat output)"

commands=$("$songbin" help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
[ "$(echo "$commands" | wc -l)" -ge 9 ] || fail "no commands in the help"
for command in $commands; do
    grep -Eq "^\.(BR?) $command( |$)" "$sources/songbin.1" || fail "the manual page does not know $command"
done
completed() { bash -c '. "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _songbin; printf "%s\n" "${COMPREPLY[@]}"' "$sources/completion.bash" "$songbin" "$@"; }
[ "$(completed '' | sort)" = "$(echo "$commands" | sort)" ] || fail "the completion does not know the commands"
[ "$(completed list -- | tr '\n' ' ')" = "--json --names --null " ] || fail "the completion does not know the options"
: >'two words'
"$songbin" put 'two words' >/dev/null
[ "$(completed restore 'two\ w')" = 'two\ words' ] || fail "the completion does not know the items"
echo "songbin: output, manual page and completion are in order"
