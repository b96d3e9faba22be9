# Notes of Vellumd for scripts, PowerShell 5.1 and 7. Not run by the tests, which have no PowerShell: they check the
# syntax only.
#
#   Import-Module .\VellumNotes.psm1
#   $id = New-VellumNote -Title 'Backup' -Content 'Running.' -Editable
#   Set-VellumNote $id -Content "Done.`nPlease confirm: close this note."   # keeps the place and the other values
#   $note = Get-VellumNote $id       # nothing: the user has closed it; another $note.content: he has edited it
#   Remove-VellumNote $id

Set-StrictMode -Version Latest
$ErrorActionPreference = 'Stop'

$DefaultFolder = Join-Path $env:LOCALAPPDATA 'Quorvane\Ombrel\Notes'
$TimeFormat = "yyyy-MM-dd'T'HH:mm:ss'Z'"

# Writes a new note and returns its id. A new id for each message is best: Vellumd can miss a note whose id the user has
# closed a moment ago. -More takes further keys of docs/note-format.md, for example @{ noteBodyColor = '#303030' }.
function New-VellumNote {
    [CmdletBinding()]
    param(
        [string]$Id = [guid]::NewGuid().ToString(),
        [string]$Title = '',
        [string]$Content = '',
        [ValidatePattern('^#([0-9A-Fa-f]{3}|[0-9A-Fa-f]{6})$')] [string]$Color = '#FEEB4D',
        [switch]$Editable,
        [hashtable]$More = @{},
        [string]$Folder = $DefaultFolder
    )
    $now = Get-NoteTime
    $note = @{
        id = $Id; title = $Title; content = $Content; bgColor = $Color; editable = [bool]$Editable
        created = $now; modified = $now
    }
    foreach ($key in $More.Keys) { $note[$key] = $More[$key] }
    $null = New-Item -ItemType Directory -Path $Folder -Force
    Write-NoteFile (Get-NotePath $Id $Folder) $note
    $Id
}

# Changes a note that the user has not closed. The note keeps its place and what is not given.
function Set-VellumNote {
    [CmdletBinding()]
    param(
        [Parameter(Mandatory, Position = 0)] [string]$Id,
        [string]$Title,
        [string]$Content,
        [hashtable]$More = @{},
        [string]$Folder = $DefaultFolder
    )
    $path = Get-NotePath $Id $Folder
    Wait-OwnSave $path
    $note = Get-VellumNote $Id -Folder $Folder
    if ($null -eq $note) { throw "There is no note $Id." }
    $values = $More.Clone()
    if ($PSBoundParameters.ContainsKey('Title')) { $values.title = $Title }
    if ($PSBoundParameters.ContainsKey('Content')) {
        $values.content = $Content
        $note.PSObject.Properties.Remove('contentRtf')   # the old text with its formats would hide the new one
    }
    $values.modified = Get-NoteTime
    foreach ($key in $values.Keys) {
        Add-Member -InputObject $note -NotePropertyName $key -NotePropertyValue $values[$key] -Force
    }
    Write-NoteFile $path $note
}

# Takes a note away.
function Remove-VellumNote {
    [CmdletBinding()]
    param([Parameter(Mandatory, Position = 0)] [string]$Id, [string]$Folder = $DefaultFolder)
    $path = Get-NotePath $Id $Folder
    Wait-OwnSave $path
    Invoke-Patiently { [IO.File]::Delete($path) }
}

# The note with what the user has typed; nothing if he has closed it. Without an id all notes.
function Get-VellumNote {
    [CmdletBinding()]
    param([Parameter(Position = 0)] [string]$Id, [string]$Folder = $DefaultFolder)
    $filter = if ($Id) { "$Id.json" } else { '*.json' }
    foreach ($file in Get-ChildItem -LiteralPath $Folder -Filter $filter -ErrorAction Ignore) {
        $text = Read-NoteFile $file.FullName
        if (-not $text) { continue }   # closed just now
        try { $note = $text | ConvertFrom-Json }
        catch { if ($Id) { throw } else { continue } }   # not a note
        foreach ($property in $note.PSObject.Properties) {   # PowerShell 7 has made dates of texts that look like one
            if ($property.Value -is [datetime]) { $property.Value = Get-NoteTime $property.Value }
        }
        $note
    }
}

# A time as the format wants it. ConvertTo-Json of 5.1 would write a date as "\/Date(1773480413000)\/".
function Get-NoteTime([datetime]$Time = [datetime]::UtcNow) {
    $Time.ToUniversalTime().ToString($TimeFormat, [cultureinfo]::InvariantCulture)
}

# .NET does not know the current location of PowerShell, so the path is a full one.
function Get-NotePath([string]$Id, [string]$Folder) {
    $full = $ExecutionContext.SessionState.Path.GetUnresolvedProviderPathFromPSPath($Folder)
    Join-Path $full "$Id.json"
}

# Nothing when there is no file. Get-Content of 5.1 would take UTF-8 for the code page of the system.
function Read-NoteFile([string]$Path) {
    Invoke-Patiently { if ([IO.File]::Exists($Path)) { [IO.File]::ReadAllText($Path) } }
}

# Replaces the whole file: nobody reads half a note. Move-Item refuses an existing file, or deletes it first (-Force).
# The line end at the end marks the file as ours.
function Write-NoteFile([string]$Path, $Note) {
    $part = $Path -replace '\.json$', '.part'
    $utf8 = New-Object System.Text.UTF8Encoding $false   # no byte order mark
    [IO.File]::WriteAllText($part, ($Note | ConvertTo-Json -Depth 5) + "`n", $utf8)
    Invoke-Patiently {
        if ([IO.File]::Exists($Path)) {
            [IO.File]::Replace($part, $Path, [NullString]::Value)   # $null would become an empty name
        } else {
            [IO.File]::Move($part, $Path)
        }
    }
}

# For three seconds after Vellumd has saved a note it takes no notice of the file. The files that it writes do not end
# with a line end. File times can lag a little.
function Wait-OwnSave([string]$Path) {
    for ($saves = 1; ; $saves++) {
        $age = ([datetime]::UtcNow - [IO.File]::GetLastWriteTimeUtc($Path)).TotalSeconds
        if ($age -gt 3.2) { return }   # so is that of a file that is gone
        $text = Read-NoteFile $Path
        if (-not $text -or $text.EndsWith("`n")) { return }
        if ($saves -eq 10) { throw "The user is still typing in $Path." }
        Start-Sleep -Milliseconds (1000 * (3.2 - [Math]::Max($age, 0)))
    }
}

# Windows refuses while another program has the file open; Vellumd and virus scanners have it for moments.
function Invoke-Patiently([scriptblock]$Action) {
    for ($tries = 1; ; $tries++) {
        try { return & $Action }
        catch [IO.IOException], [UnauthorizedAccessException] {
            if ($tries -ge 100) { throw }
            Start-Sleep -Milliseconds 20
        }
    }
}

Export-ModuleMember -Function '*-VellumNote'
