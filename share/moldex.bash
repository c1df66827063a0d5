# Completion of moldex's command line in bash. Its table is that of src/run/option_table.cpp: the test
# Help.* compares the two.

_moldex() {
  # Every option: whether it is a command, a letter or a word; the kind of its argument; the commands
  # that it goes with; its effect. Commands and letters may stand in one group.
  local table='
-a|command||a|append files to an archive
-A|word|file|catdxl|get names to include from FILE
-backup|word||catdxml|accepted and ignored in this edition
-c|command||c|create an archive
-C|word|directory|c|change to DIRECTORY before archiving (create only)
-d|command||d|verify an archive: every entry is decompressed and its checksum compared
-e|word||catdxml|write all output to the file moldex_output
-f|letter|archive|catdxm|name of the archive, or list of archives (default DEFAULT.QEL)
-flat|word||tdx|drop the directories of the names in the archive
-g|letter||tdxm|ignore case in the names of archives
-h|word||x|leave the permissions of directories alone
-i|letter||ca|go on when files are inaccessible, and keep the archive
-l|command||l|write the names of missing files to files.log
-lower|word||x|turn the names in the archive to lower case (extract only)
-m|command||m|append the first of two archives to the second
-n|word||catdxml|print the release and the statistics of the run
-p|word|mode|ca|store MODE (octal) as permissions of every entry
-P|word||cax|keep absolute names when archiving; allow names with ".." when extracting
-r|letter||ca|store links and shortcuts themselves instead of what they point to
-R|word|directory|tx|extract below DIRECTORY
-s|letter||t|with -t: report whether there is space for an extraction
-t|command||t|list an archive
-T|word|file|ca|get names to rename from FILE
-v|letter||catdx|name every entry that is processed
-V|word||catdxml|accepted; checksums are always written and checked
-x|command||x|extract an archive
-X|word|file|cal|get names to exclude from FILE
'
  local -A kind argument commands
  local -a options=()
  local name spelling value letters
  while IFS='|' read -r name spelling value letters _; do
    [[ -n $name ]] || continue
    options+=("$name") kind[$name]=$spelling argument[$name]=$value commands[$name]=$letters
  done <<<"$table"

  # Readline ends a word at ":" and "=", too. Put such words together again.
  local -a line=()
  local rest=$COMP_LINE piece i
  for ((i = 0; i <= COMP_CWORD; ++i)); do
    piece=${COMP_WORDS[i]}
    if [[ $i -gt 0 && -n $piece && $rest == "$piece"* ]]; then
      line[-1]+=$piece
    else
      line+=("$piece")
    fi
    rest=${rest#*"$piece"}
  done
  local cur=${line[-1]}
  # Readline replaces only what follows such a character.
  local joined=${cur%"${COMP_WORDS[COMP_CWORD]##[:=]*}"}

  # Read the words before the cursor: the command, the options given, each of which counts once, and the
  # kind of argument that the last word wants. Names of files to archive are relative to the directory of -C.
  local command='' wanted='' given=' ' archive='' base='' word
  for word in "${line[@]:1:${#line[@]}-2}"; do
    if [[ -n $wanted ]]; then
      [[ $wanted == archive ]] && archive=$(_moldex_unquoted "$word")
      [[ $given == *' -C ' ]] && base=$(_moldex_unquoted "$word")
      wanted=''
    elif [[ $word == -?* ]]; then
      _moldex_take "$word"
    fi
  done

  local -a candidates=()
  if [[ $wanted == directory ]]; then
    _moldex_files -d
  elif [[ $wanted == archive ]]; then
    _moldex_files -d
    _moldex_files -f -X '!*.[Qq][Ee][Ll]'
  elif [[ -z $wanted && $cur == -* ]]; then
    _moldex_options
  elif [[ -z $wanted && $command == [tdx] ]]; then
    _moldex_entries
  elif [[ -z $wanted && -n $base ]]; then
    _moldex_files_below
  elif [[ $wanted != mode ]]; then
    _moldex_files -f
  fi
  COMPREPLY=("${candidates[@]#"$joined"}")
}

# Takes the options from a word, which is an option or a group. The last command counts. No letter
# follows an "f".
_moldex_take() {
  local option letters=${1#-} i
  for ((i = 0; i < ${#letters}; ++i)); do
    option=-${letters:i:1}
    [[ -n ${kind[$1]-} ]] && option=$1 i=${#letters}
    [[ -n ${kind[$option]-} ]] || continue
    given+="$option "
    [[ ${kind[$option]} == command ]] && command=${option#-}
    wanted=${argument[$option]}
    [[ -z $wanted ]] || return 0
  done
}

# Words that begin like the current one. If the current word is a group, also the group with one more
# letter: a command first, then letters that go with it.
_moldex_options() {
  local before=$given group=${cur#-} option more='' i
  ((COMP_CWORD == 1)) && [[ "-version" == "$cur"* ]] && candidates+=(-version)
  for option in "${options[@]}"; do
    [[ ${kind[$option]} == word && $option == "$cur"* ]] && _moldex_fits "$option" &&
      candidates+=("$option")
  done
  for ((i = 0; i < ${#group}; ++i)); do
    [[ ${kind[-${group:i:1}]-word} != word ]] || return 0
  done
  _moldex_take "-$group"
  [[ $group != *f?* ]] || return 0
  for option in "${options[@]}"; do
    [[ ${kind[$option]} == word || -n $wanted ]] && continue
    [[ -n $command || ${kind[$option]} == command ]] || continue
    _moldex_fits "$option" || continue
    more+=${option#-}
    candidates+=("$cur${option#-}")
  done
  # Nothing more fits: the group is complete.
  [[ -z $group || -n $more || $before == *" $cur "* ]] || candidates+=("$cur")
}

# The option goes with the command, if there is one, and was not given.
_moldex_fits() {
  [[ $given != *" $1 "* && ${commands[$1]} == *"$command"* ]]
}

# Names in the archive, as they must be given to select entries: from a directory only its own name, and
# what lies directly below it if there is nothing else.
_moldex_entries() {
  local -a list=(-t)
  local lower=''
  [[ -e $archive && ! -f $archive ]] && return  # reading it might wait, or take what it holds
  [[ -z $archive ]] || list+=(-f "$archive")
  [[ $given == *' -g '* ]] && list+=(-g)
  [[ $given == *' -flat '* ]] && list+=(-flat)
  [[ $given == *' -lower '* ]] && lower=1
  mapfile -t candidates < <("$(_moldex_unquoted "${line[0]}")" "${list[@]}" </dev/null 2>/dev/null |
    LC_ALL=C MOLDEX_START=$(_moldex_unquoted "$cur") MOLDEX_LOWER=$lower awk '
function level(start,    i, at, slash, name, seen) {
  for (i = 1; i <= count; ++i) {
    name = names[i]
    if (substr(name, 1, length(start)) != start) continue
    at = length(start)
    while (slash = index(substr(name, at + 1), "/")) {
      at += slash
      if (substr(name, 1, at - 1) in entries) name = substr(name, 1, at - 1)
    }
    if (name in seen) continue
    seen[name]
    found[++total] = name
  }
}
/^MOLDEX: processing .*\r$/ { ends_in_cr = 1 }  # on Windows
match($0, /^[-dl][-r][-w][-x][-h][-s][-a][-c]-- *[0-9]+ /) {
  whole = substr($0, RLENGTH + 22)
  if (ends_in_cr) sub(/\r$/, "", whole)
  if (ENVIRON["MOLDEX_LOWER"]) whole = tolower(whole)
  names[++count] = whole
  entries[whole]
  next
}
whole != "" && !/^MOLDEX: / {
  delete entries[names[count--]]
  whole = ""
}
END {
  level(ENVIRON["MOLDEX_START"])
  if (total == 1) level(found[1] "/")
  for (i = 1; i <= total; ++i) print found[i]
}
')
  _moldex_quote
}

# Quotes the candidates. Readline quotes only names of files, and then adds a "/" to what is a directory here.
_moldex_quote() {
  [[ $cur == [\"\']* || ${#candidates[@]} -eq 0 ]] ||
    mapfile -t candidates < <(printf '%q\n' "${candidates[@]}")
}

# Names of files in the directory of -C, and directories there with a "/".
_moldex_files_below() {
  mapfile -t candidates < <(CDPATH='' cd -- "$base" 2>/dev/null || exit
    compgen -f -- "${cur//[\\\"\']/}" | while IFS= read -r word; do
      [[ -d ${word/#\~\//$HOME/} ]] && word+=/
      printf '%s\n' "$word"
    done)
  [[ ${#candidates[@]} -eq 1 && ${candidates[0]} == */ ]] && compopt -o nospace 2>/dev/null
  _moldex_quote
  candidates=("${candidates[@]/#\\~\//\~/}")
}

# Names of files, as compgen makes them with these options.
_moldex_files() {
  local -a found
  mapfile -t found < <(compgen "$@" -- "${cur//[\\\"\']/}")
  candidates+=("${found[@]}")
  # compopt fails outside a completion, as in tests. There is nothing to set then.
  compopt -o filenames 2>/dev/null
}

# A word without its quotes, and with the home directory for a "~".
_moldex_unquoted() {
  local word=${1/#\~\//$HOME/}
  if [[ $word == [\"\']* ]]; then
    word=${word//"${word:0:1}"/}
  else
    # shellcheck disable=SC2162  # a backslash quotes the character after it
    IFS= read word <<<"$word"
  fi
  printf '%s' "$word"
}

complete -F _moldex moldex moldex.exe
