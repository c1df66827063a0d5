#compdef moldex moldex.exe
# Completion of moldex's command line in zsh. Its table is that of src/run/option_table.cpp: the test
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
  local -A kind argument commands effect
  local -a options columns
  local row
  for row in ${(f)table}; do
    columns=("${(@s:|:)row}")
    options+=$columns[1]
    kind[$columns[1]]=$columns[2]
    argument[$columns[1]]=$columns[3]
    commands[$columns[1]]=$columns[4]
    effect[$columns[1]]=$columns[5]
  done

  # Read the words before the cursor: the command, the options given, each of which counts once, and the
  # kind of argument that the last word wants. Names of files to archive are relative to the directory of -C.
  local command='' wanted='' given=' ' archive='' word
  local -a base
  for word in "${(@Q)words[2,CURRENT-1]}"; do
    if [[ -n $wanted ]]; then
      [[ $wanted == archive ]] && archive=${word/#\~\//$HOME/}
      [[ $given == *' -C ' ]] && base=(-W ${${word/#\~\//$HOME/}:a})
      wanted=''
    elif [[ $word == -?* ]]; then
      _moldex_take $word
    fi
  done

  case $wanted in
    mode) _message 'permissions in octal digits' ;;
    directory) _files -/ ;;
    archive) _files -g '*.(#i)qel(-.)' ;;
    file) _files ;;
    *)
      if [[ $PREFIX == -* ]]; then
        _moldex_options
      elif [[ $command == [tdx] ]]; then
        _moldex_entries
      else
        _files $base
      fi
      ;;
  esac
}

# Takes the options from a word, which is an option or a group. The last command counts. No letter
# follows an "f".
_moldex_take() {
  local option
  local -a taken=(${${(s::)1#-}/#/-})
  (( $+kind[$1] )) && taken=($1)
  for option in $taken; do
    (( $+kind[$option] )) || continue
    given+="$option "
    [[ $kind[$option] == command ]] && command=${option#-}
    wanted=$argument[$option]
    [[ -z $wanted ]] || return 0
  done
}

# Words that begin like the current one. If the current word is a group, also the group with one more
# letter: a command first, then letters that go with it.
_moldex_options() {
  local before=$given group=${PREFIX#-} option letter
  local -a words_found groups_found
  (( CURRENT == 2 )) && words_found+='-version:print release and time of the build'
  for option in $options; do
    [[ $kind[$option] == word ]] && _moldex_fits $option && words_found+="$option:$effect[$option]"
  done
  for letter in ${(s::)group}; do
    [[ ${kind[-$letter]:-word} == word ]] && group=''
  done
  if [[ -n $group || $PREFIX == - ]]; then
    _moldex_take -$group
    if [[ $group != *f?* ]]; then
      for option in $options; do
        [[ $kind[$option] == word || -n $wanted ]] && continue
        [[ -n $command || $kind[$option] == command ]] || continue
        _moldex_fits $option || continue
        groups_found+="$PREFIX${option#-}:$effect[$option]"
      done
      # Nothing more fits: the group is complete.
      [[ -z $group || -n $groups_found || $before == *" $PREFIX "* ]] || groups_found=($PREFIX)
    fi
  fi
  _describe -o option words_found -- groups_found
}

# The option goes with the command, if there is one, and was not given.
_moldex_fits() {
  [[ $given != *" $1 "* && $commands[$1] == *$command* ]]
}

# Names in the archive, as they must be given to select entries: from a directory only its own name, and
# what lies directly below it if there is nothing else.
_moldex_entries() {
  local lower='' expl
  local -a list=(-t) entries
  [[ -e $archive && ! -f $archive ]] && return 1  # reading it might wait, or take what it holds
  [[ -z $archive ]] || list+=(-f $archive)
  [[ $given == *' -g '* ]] && list+=-g
  [[ $given == *' -flat '* ]] && list+=-flat
  [[ $given == *' -lower '* ]] && lower=1
  entries=(${(f)"$(${${(Q)words[1]}/#\~\//$HOME/} $list </dev/null 2>/dev/null |
    LC_ALL=C MOLDEX_START=${(Q)PREFIX} MOLDEX_LOWER=$lower awk '
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
')"})
  _wanted entries expl 'entry of the archive' compadd -a entries
}

_moldex "$@"
