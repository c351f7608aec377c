#!/usr/bin/env bash
# Usage: tidy.sh SCRIPT TEST
set -euo pipefail
script=$1 test=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The stand-ins: every source has a command, and one that holds the word `fault` has a finding.
mkdir "$work/bin"
cat >"$work/bin/cmake" <<'END'
#!/bin/sh
mkdir -p build/tidy && git ls-files | sed "s|.*|\"file\": \"$PWD/&\"|" >build/tidy/compile_commands.json
END
cat >"$work/bin/clang-tidy" <<'END'
#!/bin/sh
for file; do :; done
echo "read ${file#"$PWD"/}"
! grep -q fault "$file"
END
chmod +x "$work"/bin/*
export PATH="$work/bin:$PATH" HOME=$work GIT_CONFIG_NOSYSTEM=1
export GIT_AUTHOR_NAME=a GIT_AUTHOR_EMAIL=a@example.invalid GIT_COMMITTER_NAME=a GIT_COMMITTER_EMAIL=a@example.invalid

write() { # files, all of them committed
    local file
    for file; do
        mkdir -p "$(dirname "$file")"
        echo "$RANDOM" >>"$file"
    done
    git add . && git commit -qm "$*"
}
tidy() { scripts/tidy.sh "$@" >"$work/said"; }
expect() { # files that are read, in any order
    diff <(printf '%s\n' "$@" | grep . | sort) <(sed -n 's/^read //p' "$work/said" | sort)
}
expect_said() { grep -q -- "$1" "$work/said" || { cat "$work/said"; echo "does not say: $1"; exit 1; }; }

git init -q -b main "$work/tree"
cd "$work/tree"
mkdir scripts && cp "$script" scripts/tidy.sh && echo /build/ >.gitignore
write src/A.cpp src/A.h src/B.cpp tests/ATest.cpp
write src/A.cpp
write src/B.cpp

case $test in
    BranchSinceItLeftMain)
        git switch -qc branch
        write src/C.cpp
        write src/D.cpp
        git switch -q main && write src/E.cpp && git switch -q branch
        tidy
        expect src/C.cpp src/D.cpp ;;
    MainSinceTheCommitBefore)
        tidy
        expect src/B.cpp ;;
    CloneSinceItsOrigin)
        git clone -q "$work/tree" "$work/clone"
        cd "$work/clone"
        tidy
        expect src/B.cpp
        git checkout -q --detach
        git branch -qD main
        write src/C.cpp
        write src/D.cpp
        tidy
        expect src/C.cpp src/D.cpp ;;
    NothingInAShallowClone)
        git clone -q --depth 1 "file://$work/tree" "$work/clone"
        cd "$work/clone"
        tidy
        expect ""
        expect_said 'no older commit' ;;
    SourceOfAChangedHeader)
        write src/A.h src/Alone.h
        tidy
        expect src/A.cpp ;;
    NoMoreThanAsked)
        write tests/ATest.cpp src/A.cpp src/B.cpp
        tidy --most 2
        expect src/A.cpp src/B.cpp
        expect_said '1 more' ;;
    FailsWithAFinding)
        echo fault >src/A.cpp
        if tidy; then echo "passes with a finding" && exit 1; fi
        expect src/A.cpp src/B.cpp ;;
    *) exit 2 ;;
esac
