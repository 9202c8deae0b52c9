; What installer and uninstaller share. scripts/package-windows defines VERSION, SOURCE and OUTPUT.
Target amd64-unicode
Unicode true
SetCompressor /SOLID lzma
ManifestDPIAware true
ManifestSupportedOS all
RequestExecutionLevel admin

!include MUI2.nsh
!include LogicLib.nsh
!include FileFunc.nsh
!include WinVer.nsh

!define NAME "Orvane DR Server"
!define SERVICE "OrvaneDrServer"
!define UNINSTALL "Software\Microsoft\Windows\CurrentVersion\Uninstall\${NAME}"

; Exit codes, as README.txt lists them; 1 and 2 are the installer system's own.
!define STILL_AT_WORK 3
!define FILE_IN_USE 4
!define WINDOWS_TOO_OLD 5
!define FIREWALL_FAILED 10
!define SERVICE_FAILED 11

OutFile "${OUTPUT}"
VIProductVersion "${VERSION}.0"
VIAddVersionKey "CompanyName" "Orvane"
VIAddVersionKey "ProductName" "${NAME}"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "LegalCopyright" ""

BrandingText "${NAME} ${VERSION}"
!define MUI_ICON "${SOURCE}/app/icon/orvane-dr-server.ico"

Var LogFile
Var Patience
Var Failure

!macro Say TEXT
  DetailPrint "${TEXT}"
  FileWrite $LogFile "${TEXT}$\r$\n"
!macroend
!define Say "!insertmacro Say"

; Tells the user, the log and whoever waits for the exit code, and ends.
!macro Fail CODE TEXT
  ${Say} "${TEXT}"
  MessageBox MB_OK|MB_ICONEXCLAMATION "${TEXT}" /SD IDOK
  FileClose $LogFile
  SetErrorLevel ${CODE}
  Quit
!macroend
!define Fail "!insertmacro Fail"

; Runs a command, keeps in the log what it says, and leaves its exit code in $0.
!macro Run COMMAND
  nsExec::ExecToStack `${COMMAND}`
  Pop $0
  Pop $1
  FileWrite $LogFile `${COMMAND}: $0$\r$\n$1`
!macroend
!define Run "!insertmacro Run"

; The value of the switch $R8, such as "/LOG=", in $R9, or nothing. Up to the next blank, or to the
; next quotation mark if one stands before or behind the switch: values may have blanks and slashes.
Function SwitchValue
  StrCpy $R9 ""
  StrLen $R7 $R8
  ${For} $R6 0 1000
    StrCpy $R5 $R0 $R7 $R6
    ${If} $R5 == ""
      Return
    ${ElseIf} $R5 == $R8
      ${ExitFor}
    ${EndIf}
  ${Next}
  IntOp $R4 $R6 - 1
  StrCpy $R5 $R0 1 $R4
  IntOp $R6 $R6 + $R7
  StrCpy $R4 " "
  ${If} $R5 == '"'
    StrCpy $R4 '"'
  ${EndIf}
  StrCpy $R5 $R0 1 $R6
  ${If} $R5 == '"'
    StrCpy $R4 '"'
    IntOp $R6 $R6 + 1
  ${EndIf}
  ${Do}
    StrCpy $R5 $R0 1 $R6
    ${If} $R5 == ""
    ${OrIf} $R5 == $R4
      Return
    ${EndIf}
    StrCpy $R9 "$R9$R5"
    IntOp $R6 $R6 + 1
  ${Loop}
FunctionEnd

!macro ReadValue SWITCH VARIABLE DEFAULT
  StrCpy $R8 "${SWITCH}"
  Call SwitchValue
  ${If} $R9 == ""
    StrCpy $R9 "${DEFAULT}"
  ${EndIf}
  StrCpy ${VARIABLE} $R9
!macroend
!define ReadValue "!insertmacro ReadValue"

; Switches that both know: /LOG=FILE, /WAIT=SECONDS.
!macro ReadCommonSwitches DEFAULT_LOG
  ${GetParameters} $R0
  ${ReadValue} "/LOG=" $R1 "${DEFAULT_LOG}"
  ${ReadValue} "/WAIT=" $Patience 900
  FileOpen $LogFile $R1 a
  FileSeek $LogFile 0 END
  ${GetTime} "" "L" $1 $2 $3 $4 $5 $6 $7
  FileWrite $LogFile "$3-$2-$1 $5:$6:$7 ${NAME} ${VERSION}: $CMDLINE$\r$\n"
  StrCpy $Failure 0
!macroend

; Every server of this computer, in whatever session, by the program that is given.
!macro StopServers PROGRAM
  ${Say} "Asking the servers of this computer to end (for at most $Patience s)"
  ${Run} '"${PROGRAM}" --stop $Patience'
  ${If} $0 == 3
    ${Fail} ${STILL_AT_WORK} "A job still runs on this computer. Try again when it has ended; the server is ending."
  ${EndIf}
  !insertmacro AwaitEnd "dr-server.exe"
  !insertmacro AwaitEnd "dr-server-headless.exe"
  !insertmacro AwaitEnd "dr-master.exe"
!macroend

; A program that runs is open for nobody else to write, and stays so for a moment longer.
!macro AwaitEnd PROGRAM
  ${If} ${FileExists} "$INSTDIR\${PROGRAM}"
    ${For} $1 1 50
      ClearErrors
      FileOpen $0 "$INSTDIR\${PROGRAM}" a
      ${IfNot} ${Errors}
        FileClose $0
        ${ExitFor}
      ${EndIf}
      Sleep 200
    ${Next}
    ${If} $1 > 50
      ${Fail} ${FILE_IN_USE} "${PROGRAM} is running or cannot be written. End it, then try again."
    ${EndIf}
  ${EndIf}
!macroend

!macro RemoveFirewallRules
  ; Fails when there is none.
  ${Run} '"$SYSDIR\netsh.exe" advfirewall firewall delete rule name="${NAME} (discovery)"'
  ${Run} '"$SYSDIR\netsh.exe" advfirewall firewall delete rule name="${NAME} (masters)"'
!macroend
