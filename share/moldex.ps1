# Completion of moldex's command line in PowerShell: run this file in your profile,
#   . "$HOME\moldex\moldex.ps1"
# The options are those of src/run/option_table.cpp: the test Help.* compares the two.
# PowerShell compares without case unless told otherwise: -c operators, and no hash tables.

Register-ArgumentCompleter -Native -CommandName 'moldex', 'moldex.exe' -ScriptBlock {
    param($wordToComplete, $commandAst, $cursorPosition)

    # Every option: its spelling, whether it may stand in a group of letters, the kind of its argument,
    # the commands that it goes with, its effect.
    $commands = 'catdxml'
    $options = @(
        [pscustomobject]@{ Name = '-a'; Group = $true; Argument = ''; Commands = 'a'; Text = 'append files to an archive' }
        [pscustomobject]@{ Name = '-A'; Group = $false; Argument = 'file'; Commands = 'catdxl'; Text = 'get names to include from FILE' }
        [pscustomobject]@{ Name = '-backup'; Group = $false; Argument = ''; Commands = 'catdxml'; Text = 'accepted and ignored in this edition' }
        [pscustomobject]@{ Name = '-c'; Group = $true; Argument = ''; Commands = 'c'; Text = 'create an archive' }
        [pscustomobject]@{ Name = '-C'; Group = $false; Argument = 'directory'; Commands = 'c'; Text = 'change to DIRECTORY before archiving (create only)' }
        [pscustomobject]@{ Name = '-d'; Group = $true; Argument = ''; Commands = 'd'; Text = 'verify an archive: every entry is decompressed and its checksum compared' }
        [pscustomobject]@{ Name = '-e'; Group = $false; Argument = ''; Commands = 'catdxml'; Text = 'write all output to the file moldex_output' }
        [pscustomobject]@{ Name = '-f'; Group = $true; Argument = 'archive'; Commands = 'catdxm'; Text = 'name of the archive, or list of archives (default DEFAULT.QEL)' }
        [pscustomobject]@{ Name = '-flat'; Group = $false; Argument = ''; Commands = 'tdx'; Text = 'drop the directories of the names in the archive' }
        [pscustomobject]@{ Name = '-g'; Group = $true; Argument = ''; Commands = 'tdxm'; Text = 'ignore case in the names of archives' }
        [pscustomobject]@{ Name = '-h'; Group = $false; Argument = ''; Commands = 'x'; Text = 'leave the permissions of directories alone' }
        [pscustomobject]@{ Name = '-i'; Group = $true; Argument = ''; Commands = 'ca'; Text = 'go on when files are inaccessible, and keep the archive' }
        [pscustomobject]@{ Name = '-l'; Group = $true; Argument = ''; Commands = 'l'; Text = 'write the names of missing files to files.log' }
        [pscustomobject]@{ Name = '-lower'; Group = $false; Argument = ''; Commands = 'x'; Text = 'turn the names in the archive to lower case (extract only)' }
        [pscustomobject]@{ Name = '-m'; Group = $true; Argument = ''; Commands = 'm'; Text = 'append the first of two archives to the second' }
        [pscustomobject]@{ Name = '-n'; Group = $false; Argument = ''; Commands = 'catdxml'; Text = 'print the release and the statistics of the run' }
        [pscustomobject]@{ Name = '-p'; Group = $false; Argument = 'mode'; Commands = 'ca'; Text = 'store MODE (octal) as permissions of every entry' }
        [pscustomobject]@{ Name = '-P'; Group = $false; Argument = ''; Commands = 'cax'; Text = 'keep absolute names when archiving; allow names with ".." when extracting' }
        [pscustomobject]@{ Name = '-r'; Group = $true; Argument = ''; Commands = 'ca'; Text = 'store links and shortcuts themselves instead of what they point to' }
        [pscustomobject]@{ Name = '-R'; Group = $false; Argument = 'directory'; Commands = 'tx'; Text = 'extract below DIRECTORY' }
        [pscustomobject]@{ Name = '-s'; Group = $true; Argument = ''; Commands = 't'; Text = 'with -t: report whether there is space for an extraction' }
        [pscustomobject]@{ Name = '-t'; Group = $true; Argument = ''; Commands = 't'; Text = 'list an archive' }
        [pscustomobject]@{ Name = '-T'; Group = $false; Argument = 'file'; Commands = 'ca'; Text = 'get names to rename from FILE' }
        [pscustomobject]@{ Name = '-v'; Group = $true; Argument = ''; Commands = 'catdx'; Text = 'name every entry that is processed' }
        [pscustomobject]@{ Name = '-V'; Group = $false; Argument = ''; Commands = 'catdxml'; Text = 'accepted; checksums are always written and checked' }
        [pscustomobject]@{ Name = '-x'; Group = $true; Argument = ''; Commands = 'x'; Text = 'extract an archive' }
        [pscustomobject]@{ Name = '-X'; Group = $false; Argument = 'file'; Commands = 'cal'; Text = 'get names to exclude from FILE' }
    )

    # Takes the command from a group of letters. The last one counts.
    function Get-Command-Letter([string]$group, [string]$before) {
        foreach ($letter in $group.ToCharArray()) {
            if ($commands.Contains([string]$letter)) { $before = [string]$letter }
        }
        $before
    }

    # Read the words before the cursor: the command, and the kind of argument that the last one wants.
    $command = ''
    $wanted = ''
    $elements = @($commandAst.CommandElements | Where-Object { $_.Extent.EndOffset -lt $cursorPosition })
    foreach ($element in ($elements | Select-Object -Skip 1)) {
        $word = $element.Extent.Text
        $option = $options | Where-Object { $_.Name -ceq $word } | Select-Object -First 1
        if ($wanted -cne '') {
            $wanted = ''
        } elseif ($option -and $option.Argument -cne '') {
            $wanted = $option.Argument
        } elseif ($word.StartsWith('-') -and ($word.Length -eq 2 -or -not $option)) {
            $group = $word.Substring(1)
            if ($group.Contains('f')) {
                $wanted = 'archive'
                $group = $group.Substring(0, $group.IndexOf('f'))
            }
            $command = Get-Command-Letter $group $command
        }
    }

    $word = [string]$wordToComplete
    if ($wanted -ceq '' -and $word.StartsWith('-')) {
        $group = $word.Substring(1)
        $isGroup = $group -cmatch '^[catdxmlgirsvf]*$'
        $grouped = if ($isGroup) { Get-Command-Letter $group $command } else { '' }
        foreach ($option in $options) {
            $goes = $command -ceq '' -or $option.Commands.Contains($command)
            if ($goes -and $option.Name.StartsWith($word, [StringComparison]::Ordinal)) {
                [System.Management.Automation.CompletionResult]::new(
                    $option.Name, $option.Name, 'ParameterName', $option.Text)
            }
            # The group with one more letter. No letter follows an "f".
            $letter = $option.Name.Substring(1)
            if (-not $isGroup -or $group -ceq '' -or -not $option.Group) { continue }
            if ($group.Contains('f') -or $group.Contains($letter)) { continue }
            $fits = if ($grouped -ceq '') { $commands.Contains($letter) }
                else { $option.Commands.Contains($grouped) }
            if ($fits) {
                [System.Management.Automation.CompletionResult]::new(
                    $word + $letter, $word + $letter, 'ParameterName', $option.Text)
            }
        }
        if ($elements.Count -eq 1 -and '-version'.StartsWith($word, [StringComparison]::Ordinal)) {
            [System.Management.Automation.CompletionResult]::new(
                '-version', '-version', 'ParameterName', 'print release and time of the build')
        }
        return
    }

    # If there is no result, PowerShell offers files by itself, also for a mode.
    if ($wanted -ceq 'mode') { return }
    [System.Management.Automation.CompletionCompleters]::CompleteFilename($word) | Where-Object {
        $_.ResultType -eq 'ProviderContainer' -or
        ($wanted -ceq 'archive' -and $_.ListItemText -like '*.qel') -or
        ($wanted -cne 'archive' -and $wanted -cne 'directory')
    }
}
