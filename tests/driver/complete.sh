#!/usr/bin/env bash
# Types lines at a shell and presses Tab after each: complete.sh SHELL SHARE <LINES
# Prints each line, a tab, and what the completion in folder SHARE offers: sorted, with "," between.
set -euo pipefail
shell=$1 share=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export LC_ALL=C.UTF-8 HOME=$work OUT=$work/out READY=$work/ready SHARE=$share TERM=dumb
sorted="sed 's|/\$||; s|\\\\||g' | LC_ALL=C sort -u | paste -sd,"
cat >"$work/lines"

case $shell in
  bash)
    # Nothing is inserted, so that every line stays as it was typed.
    cat >"$work/.bashrc" <<END
. "$share/moldex.bash"
record() { _moldex; printf '%s\n' "\${COMPREPLY[@]}" | $sorted >>"\$OUT"; COMPREPLY=(); }
complete -F record moldex
bind '"\C-g": kill-whole-line'
PROMPT_COMMAND='echo >"\$READY"'
END
    start="bash -i"
    ;;
  zsh)
    mkdir "$work/functions"
    cp "$share/moldex.zsh" "$work/functions/_moldex"
    cat >"$work/.zshrc" <<END
fpath=("$work/functions" \$fpath)
autoload -U compinit && compinit -u -D
zstyle ':completion:*' completer _complete
compadd() {
  local -a before hits
  [[ \${@[1,(i)(-|--)]} == *-[OAD]\ * ]] && { builtin compadd "\$@"; return; }
  builtin compadd -O hits "\$@"
  zparseopts -E p:=before P:=ignored
  (( \$#hits )) && print -rl -- \${hits/#/\${IPREFIX}\${(Q)before[2]}} >>"\$OUT.part"
  builtin compadd "\$@"
}
record() {
  : >"\$OUT.part"
  _moldex
  { [[ -s \$OUT.part ]] || echo; cat "\$OUT.part" } | $sorted >>"\$OUT"
  compstate[insert]= compstate[list]=
}
compdef record moldex
bindkey '^G' kill-whole-line
precmd() { echo >"\$READY" }
END
    start="zsh -d -i"
    ;;
  fish)
    # shellcheck disable=SC2016
    fish -c 'source $SHARE/moldex.fish
      while read -l line
        set -l found (complete -C "moldex $line" | string replace -r "\t.*" "" | string replace -r "/\$" "")
        echo (printf "%s\n" $found | LC_ALL=C sort -u | string join ,)
      end' <"$work/lines" >"$OUT"
    ;;
esac
[ -z "${start:-}" ] || {
  for _ in {1..1500}; do [ -e "$READY" ] || sleep 0.02; done
  while IFS= read -r line; do printf 'moldex %s\t\a' "$line"; done <"$work/lines"
  printf 'exit\r'
} | ZDOTDIR=$work script -qec "$start" /dev/null >"$work/screen" || true
paste "$work/lines" "$OUT"
