# Completion of moldex's command line in fish. Its table is that of src/run/option_table.cpp: the test
# Help.* compares the two.

function __moldex_complete
    # Every option: whether it is a command, a letter or a word; the kind of its argument; the commands
    # that it goes with; its effect. Commands and letters may stand in one group.
    set -l table '
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
    set -l options
    set -l kinds
    set -l arguments
    set -l commands
    set -l effects
    for row in (string split -n \n -- $table)
        set -l columns (string split '|' -- $row)
        set -a options $columns[1]
        set -a kinds $columns[2]
        set -a arguments "$columns[3]"
        set -a commands $columns[4]
        set -a effects $columns[5]
    end

    # Read the words before the cursor: the command, the options given, each of which counts once, and the
    # kind of argument that the last word wants. Names of files to archive are relative to the directory of -C.
    set -l line (commandline -opc)
    set -l cur (commandline -ct)
    set -l command ''
    set -l wanted ''
    set -l given
    set -l archive ''
    set -l base ''
    for word in $line[2..]
        if test -n "$wanted"
            test $wanted = archive; and set archive $word
            test $given[-1] = -C; and set base (string replace -r '^~/' $HOME/ -- $word)
            set wanted ''
        else if string match -qr -- '^-.' $word
            __moldex_take $word
        end
    end

    switch "$wanted"
        case mode
        case directory
            __moldex_files $cur | string match -r '^[^\t]*/(?:\t.*)?$'
        case archive
            __moldex_files $cur | string match -ri '^[^\t]*(?:/|\.qel)(?:\t.*)?$'
        case file
            __moldex_files $cur
        case '*'
            if string match -qr -- '^-' $cur
                __moldex_options
            else if string match -qr -- '^[tdx]$' $command
                __moldex_entries
            else if test -n "$base"; and not string match -qr -- '^["\']?[/~]' $cur
                __moldex_files_below
            else
                __moldex_files $cur
            end
    end
end

# Takes the options from a word, which is an option or a group. The last command counts. No letter
# follows an "f".
function __moldex_take --no-scope-shadowing --argument-names taken
    set -l names (string sub -s 2 -- $taken)
    contains -- $taken $options; or set names (string split '' -- $names)
    for name in $names
        set -l index (contains -i -- -$name $options); or continue
        set -a given -$name
        test $kinds[$index] = command; and set command $name
        set wanted $arguments[$index]
        test -z "$wanted"; or break
    end
end

# Words that begin like the current one. If the current word is a group, also the group with one more
# letter: a command first, then letters that go with it.
function __moldex_options --no-scope-shadowing
    set -l before $given
    set -l group (string sub -s 2 -- $cur)
    set -l groups
    set -l begin '^'(string escape --style=regex -- $cur)
    test (count $line) = 1
    and string match -er -- $begin -version\t'print release and time of the build'
    for index in (seq (count $options))
        test $kinds[$index] = word; and __moldex_fits $index
        and string match -er -- $begin $options[$index]\t$effects[$index]
    end
    for letter in (string split -n '' -- $group)
        set -l index (contains -i -- -$letter $options); or return
        test $kinds[$index] != word; or return
    end
    __moldex_take -$group
    string match -qr -- 'f.' $group; and return
    for index in (seq (count $options))
        test $kinds[$index] != word -a -z "$wanted"; and __moldex_fits $index; or continue
        test -n "$command" -o $kinds[$index] = command; or continue
        set -a groups $cur(string sub -s 2 -- $options[$index])
        printf '%s\t%s\n' $groups[-1] $effects[$index]
    end
    # Nothing more fits: the group is complete.
    test -z "$group" -o -n "$groups"; or contains -- $cur $before; or echo $cur
end

# The option goes with the command, if there is one, and was not given.
function __moldex_fits --no-scope-shadowing --argument-names number
    not contains -- $options[$number] $given; and string match -q -- "*$command*" $commands[$number]
end

# Names of files, as fish completes them after a command that it does not know.
function __moldex_files
    complete -C "'' $argv"
end

# The same in the directory of -C.
function __moldex_files_below --no-scope-shadowing
    test -d $base; or return
    set -l begin (string replace -r '/*$' / -- $base)
    set -l start (string unescape -- $cur; or echo $cur)
    __moldex_files (string escape --no-quoted -- $begin$start) |
        string replace -rf -- '^'(string escape --style=regex -- $begin) ''
end

# Names in the archive, as they must be given to select entries: from a directory only its own name, and
# what lies directly below it if there is nothing else.
function __moldex_entries --no-scope-shadowing
    set -l list -t
    set -l lower ''
    set archive (string replace -r '^~/' $HOME/ -- $archive)
    # Reading such a file might wait, or take what it holds.
    test -e "$archive" -a ! -f "$archive"; and return
    test -z "$archive"; or set -a list -f $archive
    contains -- -g $given; and set -a list -g
    contains -- -flat $given; and set -a list -flat
    contains -- -lower $given; and set lower 1
    set -l start (string unescape -- $cur; or echo $cur)
    $line[1] $list </dev/null 2>/dev/null | env LC_ALL=C MOLDEX_START=$start MOLDEX_LOWER=$lower awk '
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
'
end

complete -c moldex -c moldex.exe -f -a '(__moldex_complete)'
