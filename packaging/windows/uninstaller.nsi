; Built by scripts/package-windows. A program of its own, because the installer system's uninstallers
; go on elsewhere, and whoever started them is told at once that all is well.
!include "${SOURCE}/packaging/windows/common.nsh"

Name "${NAME}"
InstallDir "$EXEDIR"
VIAddVersionKey "FileDescription" "Removes ${NAME}"
Caption "Remove ${NAME} ${VERSION}"
!define MUI_TEXT_INSTALLING_TITLE "Removing"
!define MUI_TEXT_INSTALLING_SUBTITLE "Please wait while ${NAME} is being removed."
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"
LangString removed ${LANG_ENGLISH} "Removed"
CompletedText $(removed)
InstallButtonText "Remove"

Function .onInit
  StrCpy $INSTDIR $EXEDIR
  !insertmacro ReadCommonSwitches "$TEMP\OrvaneDrServer-setup.log"
  MessageBox MB_YESNO|MB_ICONQUESTION "Remove ${NAME} from this computer? Its data folders stay." /SD IDYES IDYES go
  Quit
go:
FunctionEnd

; This program is still running: a batch file removes it when it has ended, then the folder, unless
; something else lies there, then itself. Names are arguments, because they may have any letters.
Function RemoveThisLater
  GetTempFileName $0
  ClearErrors
  Rename $0 "$0.bat"
  ${IfNot} ${Errors}
    FileOpen $1 "$0.bat" w
    FileWrite $1 "@echo off$\r$\n:again$\r$\n"
    FileWrite $1 "del /q %1 2>nul$\r$\n"
    FileWrite $1 'if exist %1 "$SYSDIR\ping.exe" -n 2 127.0.0.1 >nul$\r$\n'
    FileWrite $1 "set n=%n%x$\r$\n"
    FileWrite $1 "if %n%==xxxxxxxxxxxxxxxxxxxxxxxxxxxxxx goto end$\r$\n"
    FileWrite $1 "if exist %1 goto again$\r$\n"
    FileWrite $1 ":end$\r$\nrd %2 2>nul$\r$\ndel /q %0$\r$\n"
    FileClose $1
    ExecShell "open" "$0.bat" '"$EXEPATH" "$INSTDIR"' SW_HIDE
  ${EndIf}
FunctionEnd

Section
  SetShellVarContext all
  !insertmacro StopServers "$INSTDIR\dr-server-headless.exe"
  ${Run} '"$INSTDIR\dr-server-headless.exe" --remove-service'
  ${If} $0 != 0
    ${Fail} ${SERVICE_FAILED} "The service could not be removed:$\r$\n$1"
  ${EndIf}
  !insertmacro RemoveFirewallRules
  ${Say} "Removing the programs"
  Delete "$SMPROGRAMS\${NAME}.lnk"
  Delete "$SMSTARTUP\${NAME}.lnk"
  !insertmacro AwaitEnd "dr-server-headless.exe"
  ClearErrors
  Delete "$INSTDIR\dr-server.exe"
  Delete "$INSTDIR\dr-server-headless.exe"
  Delete "$INSTDIR\dr-master.exe"
  Delete "$INSTDIR\README.txt"
  Delete "$INSTDIR\libraries.txt"
  ${If} ${Errors}
    ${Fail} ${FILE_IN_USE} "A file in $INSTDIR cannot be removed."
  ${EndIf}
  DeleteRegKey HKLM "${UNINSTALL}"
  ${Say} "Done: 0"
  FileClose $LogFile
  ; The log that nobody asked for.
  Delete "$TEMP\OrvaneDrServer-setup.log"
  SetOutPath "$TEMP"
  Call RemoveThisLater
SectionEnd
