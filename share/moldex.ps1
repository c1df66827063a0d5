# Completion of moldex's command line in PowerShell: run this file in your profile,
#   . "$HOME\moldex\moldex.ps1"
# Its table is that of src/run/option_table.cpp: the test Help.* compares the two.
# PowerShell compares without case unless told otherwise: -c operators, and no hash tables.

Register-ArgumentCompleter -Native -CommandName 'moldex', 'moldex.exe' -ScriptBlock {
    param($wordToComplete, $commandAst, $cursorPosition)

    # Every option: whether it is a command, a letter or a word; the kind of its argument; the commands
    # that it goes with; its effect. Commands and letters may stand in one group.
    $rows = @'
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
'@ -split '\r?\n'
    $options = @(foreach ($row in $rows) {
        $name, $kind, $argument, $commands, $text = $row -split '\|'
        [pscustomobject]@{
            Name = $name; Kind = $kind; Argument = $argument; Commands = $commands; Text = $text
        }
    })

    # The options of a word, which is an option or a group. No letter follows one with an argument.
    function Get-Option([string]$word) {
        $names = @($word)
        if (-not ($options | Where-Object { $_.Name -ceq $word })) {
            $names = $word.Substring(1).ToCharArray() | ForEach-Object { "-$_" }
        }
        foreach ($name in $names) {
            $option = $options | Where-Object { $_.Name -ceq $name }
            if ($option) { $option }
            if ($option -and $option.Argument -cne '') { break }
        }
    }

    # The letter of the last command among the options, or the one before.
    function Get-CommandLetter([object[]]$taken, [string]$before) {
        foreach ($option in $taken) {
            if ($option.Kind -ceq 'command') { $before = $option.Commands }
        }
        $before
    }

    # The option goes with the command, if there is one, and was not given.
    function Test-Fit($option, [string]$command, [string[]]$given) {
        $option.Commands.Contains($command) -and $given -cnotcontains $option.Name
    }

    function New-Result([string]$completion, [string]$kind, [string]$text) {
        [System.Management.Automation.CompletionResult]::new($completion, $completion, $kind, $text)
    }

    # The names in the archive.
    function Get-Entry([string]$archive, [string[]]$given) {
        # Reading such a file might wait, or take what it holds.
        if ($archive -cne '' -and (Test-Path -LiteralPath $archive -PathType Container)) { return }
        $program = $commandAst.GetCommandName()
        $list = @('-t')
        if ($archive -cne '') { $list += @('-f', $archive) }
        foreach ($flag in '-g', '-flat') {
            if ($given -ccontains $flag) { $list += $flag }
        }
        $encoding = [Console]::OutputEncoding
        try {
            [Console]::OutputEncoding = [System.Text.UTF8Encoding]::new($false)
            $lines = @($null | & $program @list 2>$null)
        } finally {
            [Console]::OutputEncoding = $encoding
        }
        foreach ($line in $lines) {
            if ($line -cmatch '^[-dl][-r][-w][-x][-h][-s][-a][-c]-- *[0-9]+ .{20} (.+)$') {
                $name = $Matches[1]
                if ($given -ccontains '-lower') { $name = $name.ToLowerInvariant() }
                $name
            }
        }
    }

    # Those of the names that begin so; from a directory only its own name.
    function Select-Level([string[]]$names, [string]$start) {
        $entries = [System.Collections.Generic.HashSet[string]]::new()
        $found = [System.Collections.Generic.HashSet[string]]::new()
        foreach ($name in $names) { $null = $entries.Add($name) }
        foreach ($name in $names) {
            if (-not $name.StartsWith($start, [StringComparison]::Ordinal)) { continue }
            $slash = $name.IndexOf('/', $start.Length)
            while ($slash -ge 0 -and -not $entries.Contains($name.Substring(0, $slash))) {
                $slash = $name.IndexOf('/', $slash + 1)
            }
            if ($slash -ge 0) { $name = $name.Substring(0, $slash) }
            if ($found.Add($name)) { $name }
        }
    }

    # A name as a word of the command line.
    function Get-Quoted([string]$name) {
        if ($name -cmatch '^[\w./+=%:][\w./+=%:-]*$') { return $name }
        "'" + $name.Replace("'", "''") + "'"
    }

    # Names on the disk with "/", as archives have them, and without the ".\" that PowerShell adds.
    function Get-File([string]$word, [string]$wanted) {
        $typed = $word.Trim("'", '"')
        foreach ($file in [System.Management.Automation.CompletionCompleters]::CompleteFilename($word)) {
            $is_directory = $file.ResultType -eq 'ProviderContainer'
            if ($wanted -ceq 'directory' -and -not $is_directory) { continue }
            if ($wanted -ceq 'archive' -and -not ($is_directory -or $file.ListItemText -like '*.qel')) {
                continue
            }
            $name = $file.CompletionText
            if ([System.IO.Path]::DirectorySeparatorChar -ceq '\') { $name = $name.Replace('\', '/') }
            if (-not $typed.StartsWith('.')) { $name = $name -creplace '^([''"]?)\./(?!-)', '$1' }
            New-Result $name 'ParameterValue' $file.ToolTip
        }
    }

    # Read the words before the cursor: the command, the options given, each of which counts once, and the
    # kind of argument that the last word wants. Names of files to archive are relative to the directory of -C.
    $command = ''
    $wanted = ''
    $archive = ''
    $base = '.'
    $given = @()
    $elements = @($commandAst.CommandElements | Where-Object { $_.Extent.EndOffset -lt $cursorPosition })
    foreach ($element in ($elements | Select-Object -Skip 1)) {
        $word = $element.Extent.Text
        if ($wanted -cne '') {
            if ($wanted -ceq 'archive') { $archive = $word.Trim("'", '"') }
            if ($given[-1] -ceq '-C') { $base = $word.Trim("'", '"') }
            $wanted = ''
        } elseif ($word.StartsWith('-')) {
            $taken = @(Get-Option $word)
            $command = Get-CommandLetter $taken $command
            foreach ($option in $taken) {
                $given += $option.Name
                $wanted = $option.Argument
            }
        }
    }

    $word = [string]$wordToComplete
    if ($wanted -ceq '' -and $word.StartsWith('-')) {
        foreach ($option in $options) {
            $begins = $option.Name.StartsWith($word, [StringComparison]::Ordinal)
            if ($begins -and $option.Kind -ceq 'word' -and (Test-Fit $option $command $given)) {
                New-Result $option.Name 'ParameterName' $option.Text
            }
        }
        if ($elements.Count -eq 1 -and '-version'.StartsWith($word, [StringComparison]::Ordinal)) {
            New-Result '-version' 'ParameterName' 'print release and time of the build'
        }
        # If the word is a group, also the group with one more letter: a command first, then letters that
        # go with it.
        $group = @(Get-Option $word)
        $is_group = $word.Length - 1 -eq $group.Count
        $is_open = $true
        $all = $given
        foreach ($option in $group) {
            if ($option.Kind -ceq 'word') { $is_group = $false }
            if ($option.Argument -cne '') { $is_open = $false }
            $all += $option.Name
        }
        if (-not $is_group) { return }
        $command = Get-CommandLetter $group $command
        $count = 0
        foreach ($option in $options) {
            $counts = $option.Kind -ceq 'command' -or ($option.Kind -ceq 'letter' -and $command -cne '')
            if (-not ($is_open -and $counts -and (Test-Fit $option $command $all))) { continue }
            New-Result ($word + $option.Name.Substring(1)) 'ParameterName' $option.Text
            $count += 1
        }
        # Nothing more fits: the group is complete.
        if ($count -eq 0 -and $group.Count -gt 0 -and $given -cnotcontains $word) {
            New-Result $word 'ParameterName' $group[-1].Text
        }
    } elseif ($wanted -ceq '' -and 'tdx'.Contains($command) -and $command -cne '') {
        # Names must be given as the archive has them, directories without a "/" at the end.
        $start = $word.Trim("'", '"').Replace("''", "'")
        $names = @(Get-Entry $archive $given)
        $level = @(Select-Level $names $start)
        if ($level.Count -eq 1) { $level += @(Select-Level $names ($level[0] + '/')) }
        foreach ($name in $level) { New-Result (Get-Quoted $name) 'ParameterValue' $name }
    } elseif ($wanted -cne 'mode') {
        if ($wanted -cne '') { $base = '.' }
        if (-not (Test-Path -LiteralPath $base -PathType Container)) { return }
        Push-Location -LiteralPath $base
        try {
            Get-File $word $wanted
        } finally {
            Pop-Location
        }
    }
}
