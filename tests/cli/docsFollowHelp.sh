#!/usr/bin/env bash
# Every option `sd2wav --help` shows is in the man page (which renders without warnings) and
# is offered by the bash, zsh and fish completions, with the values the usage lists, and the
# parser takes each of those values; with SOURCE_FOLDER, every option the parser names is
# in the man page too.
# Usage: docsFollowHelp.sh SD2WAV MAN_PAGE BASH ZSH FISH [SOURCE_FOLDER]
set -euo pipefail
sd2wav=$1 manpage=$2 bashc=$3 zshc=$4 fishc=$5 src=${6:-}
passed=0 failed=0
check() { # WHAT COMMAND...: counts the command's outcome, names WHAT when it fails
  local what=$1
  shift
  if "$@" >/dev/null 2>&1; then passed=$((passed + 1)); else echo "FAIL: $what" >&2; failed=$((failed + 1)); fi
}
has() { grep -qE -- "(^|[^a-z0-9-])$1([^a-z0-9-]|$)" <<<"$2"; }
# What each shell offers after `sd2wav WORDS...`, the last word being the one completed.
bashOffers() {
  bash -c 'source /usr/share/bash-completion/bash_completion && source "$1" && shift
    COMP_WORDS=(sd2wav "$@") COMP_CWORD=$#
    COMP_LINE="${COMP_WORDS[*]}" && COMP_POINT=${#COMP_LINE}
    _sd2wav sd2wav "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
    printf "%s\n" "${COMPREPLY[@]}"' _ "$bashc" "$@" | sort -u
}
fishOffers() {
  fish --no-config -c 'source $argv[1]; complete -C "sd2wav $argv[2..]"' "$fishc" "$@" | cut -f1 | sort -u
}
offers() { # SHELL EXPECTED WORDS...: the shell offers EXPECTED (lines) among its words
  [ -z "$(comm -23 <(sort <<<"$2") <("$1Offers" "${@:3}"))" ]
}
offersExactly() { [ "$(sort <<<"$2")" = "$("$1Offers" "${@:3}")" ]; }

page=$(MANWIDTH=80 man -E UTF-8 -l "$manpage" 2>/dev/null) || true
check "$manpage renders without warnings" test -z "$(MANWIDTH=80 man --warnings -E UTF-8 -l "$manpage" 2>&1 >/dev/null)"
check "$manpage renders" grep -q "^SYNOPSIS" <<<"$page"
check "$zshc parses" zsh -n "$zshc"

help=$("$sd2wav" --help)
options=$(grep -oE -- '(^|[][ |,(])--?[a-z][a-z0-9-]*' <<<"$help" | sed 's/^[^-]*//' | sort -u)
[ -n "$src" ] && options+=$'\n'$(grep -ohE '"--?[a-z][a-z0-9-]*"' "$src"/src/cli/*.cpp | tr -d '"' | sort -u)
for option in $options; do
  check "the man page has $option" has "$option" "$page"
done

# The synopsis as "command|[options and operands]" lines ("|--help" for the program's own).
synopsis=$(awk '/^$/ { exit }
  { sub(/^(usage:)? +/, "") }
  $1 == "sd2wav" { command = ($2 ~ /^-/) ? "" : $2; sub(/^sd2wav ([a-z]+ )?/, "") }
  { print command "|" $0 }' <<<"$help")
commands=$(sed -nE 's/^([a-z]+)\|.*/\1/p' <<<"$synopsis" | sort -u)
for shell in bash fish; do
  check "$shell offers the commands" offers "$shell" "$commands" ""
done

while IFS='|' read -r command rest; do
  for item in $(grep -oE '\[[^]]+\]|^--?[a-z-]+' <<<"$rest" | tr ' ' '~'); do
    item=${item#[} item=${item%]}
    names=${item%%~*} value=${item#*~}
    [[ $names == -* ]] || continue
    [ "$value" = "$item" ] && value=
    for name in ${names//|/ }; do
      for shell in bash fish; do
        check "$shell offers $name after sd2wav $command" offers "$shell" "$name" $command -
      done
      check "zsh offers $name after sd2wav $command" grep -qE -- "['\)]$name[=+]?\[" "$zshc"
      [ -n "$command" ] || continue
      if [[ -z $value ]]; then
        check "sd2wav $command takes $name" "$sd2wav" "$command" "$name" --help
      elif [[ $value == *[a-z0-9]* ]]; then
        choices=$(tr '|' '\n' <<<"$value")
        for shell in bash fish; do
          check "$shell offers $value after sd2wav $command $name" \
            offersExactly "$shell" "$choices" "$command" "$name" ""
        done
        check "zsh offers $value after $name" grep -qF -- ":(${value//|/ })'" "$zshc"
        for choice in $choices; do
          check "sd2wav $command $name takes $choice" "$sd2wav" "$command" "$name" "$choice" --help
        done
      else
        check "sd2wav $command knows $name" \
          bash -c '! "$@" 2>&1 | grep -q "unknown option"' _ "$sd2wav" "$command" "$name" x --help
      fi
    done
  done
done <<<"$synopsis"

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
