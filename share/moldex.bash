# Completion of moldex's command line in bash. The options are those of src/run/option_table.cpp: the
# test Help.* compares the two.

_moldex() {
  # The letters of the commands; the kind of each option's argument; and for each command, or none so
  # far, the options that are words and the letters that may stand in a group.
  local commands
  local -A argument words letters
  commands='catdxml'
  argument=(
    [-a]='none'
    [-A]='file'
    [-backup]='none'
    [-c]='none'
    [-C]='directory'
    [-d]='none'
    [-e]='none'
    [-f]='archive'
    [-flat]='none'
    [-g]='none'
    [-h]='none'
    [-i]='none'
    [-l]='none'
    [-lower]='none'
    [-m]='none'
    [-n]='none'
    [-p]='mode'
    [-P]='none'
    [-r]='none'
    [-R]='directory'
    [-s]='none'
    [-t]='none'
    [-T]='file'
    [-v]='none'
    [-V]='none'
    [-x]='none'
    [-X]='file'
  )
  words=(
    [none]='-A -backup -C -e -flat -h -lower -n -p -P -R -T -V -X'
    [c]='-A -backup -C -e -n -p -P -T -V -X'
    [a]='-A -backup -e -n -p -P -T -V -X'
    [t]='-A -backup -e -flat -n -R -V'
    [d]='-A -backup -e -flat -n -V'
    [x]='-A -backup -e -flat -h -lower -n -P -R -V'
    [m]='-backup -e -n -V'
    [l]='-A -backup -e -n -V -X'
  )
  letters=(
    [all]='catdxmlgirsvf'
    [none]='catdxml'
    [c]='irvf'
    [a]='irvf'
    [t]='gsvf'
    [d]='gvf'
    [x]='gvf'
    [m]='gf'
    [l]=''
  )

  local cur=${COMP_WORDS[COMP_CWORD]} command='' wanted='' given='' word i
  # Read the words before the cursor: the command, the given options with an argument (each is
  # allowed only once), and the kind of argument that the last word wants.
  for ((i = 1; i < COMP_CWORD; ++i)); do
    word=${COMP_WORDS[i]}
    if [[ -n $wanted ]]; then
      wanted=''
    elif [[ $word == -* && ${argument[$word]-none} != none ]]; then
      wanted=${argument[$word]} given+=" $word"
    elif [[ $word == -? || $word == -* && -z ${argument[$word]-} ]]; then
      [[ $word == *f* ]] && wanted=archive given+=' -f'
      _moldex_command "${word%%f*}"
    fi
  done

  local -a candidates=()
  cur=${cur//[\\\"\']/}  # without quotes; bash quotes the result itself
  case $wanted in
    mode) ;;
    directory) mapfile -t candidates < <(compgen -d -- "$cur") ;;
    archive) mapfile -t candidates < <(compgen -d -- "$cur"; _moldex_archives "$cur") ;;
    *)
      if [[ -z $wanted && $cur == -* ]]; then
        _moldex_options
        COMPREPLY=("${candidates[@]}")
        return
      fi
      mapfile -t candidates < <(compgen -f -- "$cur")
      ;;
  esac
  # compopt fails outside a completion, as in tests. There is nothing to set then.
  compopt -o filenames 2>/dev/null
  COMPREPLY=("${candidates[@]}")
}

# Takes the command from a group of letters. The last one counts.
_moldex_command() {
  local group=${1#-} i
  for ((i = 0; i < ${#group}; ++i)); do
    [[ $commands == *"${group:i:1}"* ]] && command=${group:i:1}
  done
}

# Files that look like archives. compgen -d finds the directories.
_moldex_archives() {
  local name
  compgen -f -X '!*.[Qq][Ee][Ll]' -- "$1" | while IFS= read -r name; do
    [[ -d ${name/#\~\//$HOME/} ]] || printf '%s\n' "$name"
  done
}

# Words that begin like the current one. If the current word is a group, also the group with one more
# letter: a command first, then letters that go with it. No letter follows an "f".
_moldex_options() {
  local group=${cur#-} offered=" ${words[${command:-none}]} " more word i
  for word in $given; do
    offered=${offered/ $word / }
  done
  mapfile -t candidates < <(compgen -W "$offered" -- "$cur")
  ((COMP_CWORD == 1)) && [[ "-version" == "$cur"* ]] && candidates+=(-version)
  [[ $group == *[!${letters[all]}]* ]] && return
  _moldex_command "${cur%%f*}"
  more=${letters[${command:-none}]}
  [[ $given == *-f* ]] && more=${more/f/} && [[ $group == *f* ]] && return
  [[ $group == *f?* ]] && return
  [[ $group == *f ]] && more=''
  [[ -n $group && -z $more ]] && candidates+=("$cur")
  for ((i = 0; i < ${#more}; ++i)); do
    [[ $group == *"${more:i:1}"* ]] || candidates+=("$cur${more:i:1}")
  done
}

complete -F _moldex moldex moldex.exe
