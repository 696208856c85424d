# One whole cycle in PowerShell: starts a browser, gives values to variables, plays a macro, prints
# what it extracted, and closes the browser. A step that fails is explained, and the script then
# ends with exit code 1. The PowerShell must be a 64-bit one.
#
#     powershell -ExecutionPolicy Bypass -File play.ps1 [MACRO]
#
# tvnInit([commandLine], [openNewBrowser = True], [user], [password], [domain], [timeout = 30])
# tvnPlay(inText, [timeout = 600])
# tvnExit([timeout = 10])
param([string] $macro = 'Hotel Search')

# What a Status other than 1 means, and what to do.
function Get-StatusHelp([string] $method, [int] $status) {
    $cause, $remedy = switch ($status) {
        -1 {
            if ($method -eq 'tvnInit') {
                'The browser was not found, could not be started, or refused this client.'
                'Install Edge, Chrome or Chromium. To see why, run: tvntrace --explain COMMAND'
            } else {
                'The browser has gone, its answer cannot be read, or another command runs.'
                'Call tvnExit and tvnInit, then try again.'
            }
        }
        -2 { 'The browser did not complete the macro.'; 'tvnGetLastError may tell why.' }
        -3 {
            if ($method -eq 'tvnInit') {
                'The browser was started but did not report in time.'
                'Give tvnInit more time. Internet Explorer and Firefox need the add-on, too.'
            } else {
                'The browser did not answer in time. A macro goes on running.'
                'Give the call more time, or close the browser with tvnExit.'
            }
        }
        -4 { 'No browser is attached.'; 'Call tvnInit first, and look at its Status.' }
        -6 { 'The runner service did not answer.'; 'Start the service, or leave -runner out.' }
        -7 { 'As many browsers run as may run.'; 'Wait until one of them has ended, then try again.' }
        -20 {
            'The object has a browser already, or is about to get one.'
            'Call tvnExit first, or take another object.'
        }
        -100 {
            'The macro stopped with an error.'
            'tvnGetLastError tells which; mend the macro or its variables.'
        }
        default {
            'The browser or the runner service answered with a number of its own.'
            'Its documents tell what it means.'
        }
    }
    "cause: $cause`nremedy: $remedy"
}

# Prints the Status of a method; any other than 1 is explained and remembered.
function Test-Status([string] $method, [int] $status) {
    Write-Host "${method}: $status"
    if ($status -eq 1) { return $true }
    $script:failed = $true
    if ($method -ne 'tvnExit' -and $app.tvnGetLastError() -ne '') {
        Write-Host "error text: $($app.tvnGetLastError())"
    }
    Write-Host (Get-StatusHelp $method $status)
    return $false
}

$failed = $false
$app = New-Object -ComObject talvern
try {
    if (Test-Status 'tvnInit' $app.tvnInit('', $true, '', '', '', 60)) {
        try { # whatever goes wrong in here, the browser is closed
            [void] $app.tvnSet('city', 'New York')
            [void] $app.tvnSet('nights', '3')
            [void] (Test-Status 'tvnPlay' $app.tvnPlay($macro, 120))
            for ($index = 1; $index -le 32767; $index++) {
                $piece = $app.tvnGetLastExtract($index)
                if ($piece -ceq 'NODATA') { break }
                Write-Host "${index}: $piece"
            }
        } finally {
            [void] (Test-Status 'tvnExit' $app.tvnExit(10))
        }
    }
} finally {
    [void] [Runtime.InteropServices.Marshal]::ReleaseComObject($app)
}
if ($failed) { exit 1 }
