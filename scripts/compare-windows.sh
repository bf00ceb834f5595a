#!/bin/sh
# Converts real XML files by the Linux library and by Parvel.DLL under Wine, and compares the bytes; then exports what came
# out the same, and compares what the two exports say. The files are all that the installed Debian packages bring.
#
#   scripts/compare-windows.sh [--install] [FOLDER]
#
# --install first installs packages that bring many such files. FOLDER keeps everything that was made, and `differences`,
# where each differing file stands with its reason; without it a temporary folder is used.
#
# The XML DOM under Wine has known faults. A difference counts as explained when it goes away once what such a fault touches
# is taken out of both trees; any other ends the script with 1. So does a comparison of too few files.
set -eu
cd "$(dirname "$0")/.."
root=$(pwd)

least_same=300
most_of_folder=20
most_wanted="unicode-cldr-core iso-codes adwaita-icon-theme shared-mime-info libgirepository1.0-dev"

if [ "${1-}" = --install ]; then
    shift
    as_root=
    [ "$(id -u)" -eq 0 ] || as_root=sudo
    # shellcheck disable=SC2086  # a list of names
    $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $most_wanted
fi
if [ $# -gt 0 ]; then
    mkdir -p "$1"
    work=$(cd "$1" && pwd)
else
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
fi

scripts/setup.sh build test windows test-windows wine
[ -f build/native/build.ninja ] || cmake --preset release
cmake --build --preset release --target parvel_convert_all parvel_cli >"$work/build.log"
cmake --preset windows-test >>"$work/build.log"
cmake --build --preset windows-test --target parvel_convert_all >>"$work/build.log"
native=$root/build/native

# Files whose names mean the same on both systems; of thousands in one folder the first ones.
dpkg-query -W -f '${binary:Package}\n' | xargs dpkg -L |
    grep -E '^[]A-Za-z0-9/._+@,=~[-]+\.(xml|svg|gir|ui|glade|xsl|xslt|xsd|rng|xhtml|docbook|policy|rdf|xmi|wsdl)$' |
    sort -u | while read -r name; do [ ! -f "$name" ] || echo "$name"; done |
    awk '{ folder = $0; sub(/[^\/]*$/, "", folder) } ++count[folder] <= most' most=$most_of_folder >"$work/names"

# convert NAMES FOLDER: both libraries over one list; FOLDER/linux and FOLDER/windows with what they make and say.
convert() {
    rm -rf "$2"
    mkdir -p "$2/linux" "$2/windows"
    "$native/parvel_convert_all" "$2/linux" <"$1" >"$2/linux.results"
    # shellcheck disable=SC2016  # for the inner shell
    scripts/with-wine.sh sh -c 'scripts/wine.sh build/windows/parvel_convert_all.exe "$1/windows" <"$2" >"$1/windows.results"' \
        sh "$2" "$1"
    tr -d '\r' <"$2/windows.results" | paste -d ' ' "$2/linux.results" - "$1" | cut -d ' ' -f 1,2,4- >"$2/results"
    [ "$(wc -l <"$2/results")" -eq "$(wc -l <"$1")" ] || { echo "a host ended early" >&2; exit 1; }
}

# A shown tree, each element's name, attributes and text in lines of their own, and what the known faults touch taken out
# of that.
string='"([^"\\]|\\.)*"'
split() {
    "$native/parvel" show --full "$1" 2>"$work/errors" |
        sed -E "s/^((\[level [0-9]+\])? *[^ \"]+): \"/\1\n: \"/; s/ [^ =\"]+=$string/\n&\n/g" | sed '/^$/d'
}
withoutNamespaces() { sed -E "/^ xmlns(:[^= ]*)?=$string\$/d"; }
withoutPrefixes() { sed -E 's/^( *|\[level [0-9]+\] *)[A-Za-z_][A-Za-z0-9_.-]*:([A-Za-z_])/\1\2/'; }
withoutEndBlanks() { sed -E ':a; s/"( |\\[nrt])+/"/; ta; :b; s/( |\\[nrt])+"/"/; tb'; }

# reason A B NAME: why the two documents of a file differ; empty when that is not known.
reason() {
    split "$1" >"$work/a"
    split "$2" >"$work/b"
    [ -s "$work/a" ] && [ -s "$work/b" ] || return 0
    said="order of attributes"
    for fault in "" Namespaces Prefixes EndBlanks; do
        if [ -n "$fault" ]; then
            "without$fault" <"$work/a" >"$work/a.next"
            "without$fault" <"$work/b" >"$work/b.next"
            # Only what brings the two nearer has a part in it.
            before=$(diff "$work/a" "$work/b" | grep -c '^[<>]') || true
            after=$(diff "$work/a.next" "$work/b.next" | grep -c '^[<>]') || true
            mv "$work/a.next" "$work/a"
            mv "$work/b.next" "$work/b"
            [ "$after" -eq "$before" ] || case $fault in
                Namespaces) said="namespace declarations come last, the first of several in place of another" ;;
                Prefixes) said="$said; an undeclared prefix is dropped" ;;
                EndBlanks)
                    said="$said; blanks at the end of a text beside a reference, a carriage return or a non-ASCII letter are lost"
                    ;;
            esac
        fi
        if cmp -s "$work/a" "$work/b"; then
            echo "${said#order of attributes; }"
            return
        fi
    done
    # The rest must be attributes that the second does not have.
    if grep -q '<!ATTLIST' "$3" && ! diff "$work/a" "$work/b" | grep '^[<>]' | grep -qvE "^<  [^ =\"]+=$string\$"; then
        said="$said; attributes that the document type gives by default are missing"
        echo "${said#order of attributes; }"
    fi
}

# refusal N NAME: why the DLL refuses a file that the Linux library takes; empty when that is not known.
refusal() {
    # By the tree, where a reader takes it: the declaration may come from the file's DTD.
    "$native/parvel" show --full "$1" >"$work/a" 2>"$work/b" || true
    if grep -q ' xmlns=' "$work/a" || { [ ! -s "$work/a" ] && grep -q '[[:space:]]xmlns=' "$2"; }; then
        echo "an attribute map's item fails for a default namespace"
        return
    fi
    encoding=$(head -c 200 "$2" | tr -d '\0' | sed -nE "s/.*encoding=[\"']([^\"']*).*/\1/p" | head -n 1 | tr A-Z a-z)
    case $encoding in
        big5 | euc-jp | euc-kr | gb2312 | gb18030 | koi8-r | shift_jis | tis-620) echo "the DOM does not know $encoding" ;;
    esac
}

# compare FOLDER: fills FOLDER/same (numbers) and FOLDER/differences (reason, name), and sums up.
compare() {
    : >"$1/same"
    : >"$1/differences"
    : >"$1/renamed"
    while read -r n onLinux onWindows name; do
        why=
        case $onLinux/$onWindows in
            refused/refused) continue ;;
            refused/*) ;;
            */refused)
                why=$(refusal "$1/linux/$n.bdoc" "$name")
                case $why in *"default namespace") echo "$name" >>"$1/renamed" ;; esac
                ;;
            *)
                if cmp -s "$1/linux/$n.bdoc" "$1/windows/$n.bdoc"; then
                    echo "$n" >>"$1/same"
                    continue
                fi
                why=$(reason "$1/linux/$n.bdoc" "$1/windows/$n.bdoc" "$name")
                ;;
        esac
        echo "${why:-UNEXPLAINED} ($onLinux/$onWindows): $name" >>"$1/differences"
    done <"$1/results"
    echo "$(wc -l <"$1/results") files: $(wc -l <"$1/same") give the same bytes, $(grep -c 'refused refused' "$1/results" || true)" \
        "are refused by both, $(wc -l <"$1/differences") differ:"
    sed 's/ ([a-z]*\/[a-z]*): .*//' "$1/differences" | sort | uniq -c | sort -rn
    grep '^UNEXPLAINED' "$1/differences" >>"$work/unexplained" || true
}

# compareExports FOLDER: what both have exported from the same bytes must be the same document when read again.
compareExports() {
    grep -E '^[0-9]+ exported exported ' "$1/results" | cut -d ' ' -f 1 | sort >"$1/exported"
    sort "$1/same" | comm -12 - "$1/exported" >"$1/both"
    [ -s "$1/both" ] || { echo "no exports to compare"; return; }
    for system in linux windows; do
        mkdir -p "$1/again-$system"
        sed "s|.*|$1/$system/&.xml|" "$1/both" | "$native/parvel_convert_all" "$1/again-$system" >"$1/again-$system.results"
    done
    line=0
    same=0
    while read -r n; do
        line=$((line + 1))
        if cmp -s "$1/again-linux/$line.bdoc" "$1/again-windows/$line.bdoc"; then
            same=$((same + 1))
        else
            echo "UNEXPLAINED (export): $(sed -n "${n}p" "$1/results")" >>"$work/unexplained"
        fi
    done <"$1/both"
    echo "$(wc -l <"$1/both") exports: $same are the same document when read again"
}

: >"$work/unexplained"
convert "$work/names" "$work/all"
compare "$work/all"
compareExports "$work/all"

# Half of the world's XML has a default namespace. Under another name it is an attribute like any other. An attribute
# longer than any word that a document is read with is cut: else nobody could show the difference.
mkdir -p "$work/renamed"
line=0
while read -r name; do
    line=$((line + 1))
    perl -0pe 's/(\s)xmlns(\s*=|\s+CDATA)/$1xmlnz$2/g; s/"([^"]*)"/length $1 > 500_000 ? q("long") : $&/ge' "$name" \
        >"$work/renamed/$line"
    echo "$work/renamed/$line"
done <"$work/all/renamed" >"$work/renamed.names"
echo
echo "The files with a default namespace once more, with that under the name xmlnz:"
convert "$work/renamed.names" "$work/again"
compare "$work/again"
compareExports "$work/again"

same=$(cat "$work/all/same" "$work/again/same" | wc -l)
if [ -s "$work/unexplained" ]; then
    cat "$work/unexplained" >&2
    exit 1
fi
if [ "$same" -lt $least_same ]; then
    echo "too few to mean much: run scripts/compare-windows.sh --install" >&2
    exit 1
fi
