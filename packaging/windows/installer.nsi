; Built by scripts/package-windows, which defines VERSION, PROGRAMS, SOURCE and OUTPUT.
Target amd64-unicode
Unicode true
SetCompressor /SOLID lzma
ManifestDPIAware true

!include MUI2.nsh
!include LogicLib.nsh

!define NAME "Orvane DR Server"
!define UNINSTALL "Software\Microsoft\Windows\CurrentVersion\Uninstall\${NAME}"
; Shortcuts start the server here, so that its data lies in a folder that its user may write and no
; other user may. Expanded by the shell for whoever uses the shortcut.
!define WORKING "%LOCALAPPDATA%"

Name "${NAME} ${VERSION}"
OutFile "${OUTPUT}"
InstallDir "$PROGRAMFILES64\${NAME}"
InstallDirRegKey HKLM "${UNINSTALL}" "InstallLocation"
RequestExecutionLevel admin
VIProductVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "${NAME}"
VIAddVersionKey "FileDescription" "${NAME} installer"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "LegalCopyright" ""

!define MUI_ICON "${SOURCE}/app/icon/orvane-dr-server.ico"
!define MUI_UNICON "${SOURCE}/app/icon/orvane-dr-server.ico"
!define MUI_FINISHPAGE_RUN
!define MUI_FINISHPAGE_RUN_FUNCTION StartServer
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

; As the user who sits there, not as the administrator that the installer runs as.
Function StartServer
  Exec '"$WINDIR\explorer.exe" "$SMPROGRAMS\${NAME}.lnk"'
FunctionEnd

!macro FirewallRule TITLE PROTOCOL PORT
  nsExec::Exec 'netsh advfirewall firewall delete rule name="${TITLE}"'
  Pop $0
  nsExec::Exec 'netsh advfirewall firewall add rule name="${TITLE}" dir=in action=allow protocol=${PROTOCOL} localport=${PORT} profile=domain,private'
  Pop $0
!macroend

!macro Shortcut FOLDER
  StrCpy $OUTDIR "${WORKING}"
  CreateShortcut "${FOLDER}\${NAME}.lnk" "$INSTDIR\dr-server.exe"
!macroend

; A program that runs is open for nobody else to write.
!macro NotWhileRunning PROGRAM
  ${If} ${FileExists} "$INSTDIR\${PROGRAM}"
    ClearErrors
    FileOpen $0 "$INSTDIR\${PROGRAM}" a
    ${If} ${Errors}
      MessageBox MB_OK|MB_ICONEXCLAMATION "${PROGRAM} is running. End it, then try again." /SD IDOK
      SetErrorLevel 2
      Abort
    ${EndIf}
    FileClose $0
  ${EndIf}
!macroend
!macro NothingRuns
  !insertmacro NotWhileRunning "dr-server.exe"
  !insertmacro NotWhileRunning "dr-server-headless.exe"
  !insertmacro NotWhileRunning "dr-master.exe"
!macroend

Section "Programs" SecPrograms
  SectionIn RO
  SetShellVarContext all
  !insertmacro NothingRuns
  SetOutPath "$INSTDIR"
  File "${PROGRAMS}/dr-server.exe"
  File "${PROGRAMS}/dr-server-headless.exe"
  File "${PROGRAMS}/dr-master.exe"
  File "${PROGRAMS}/README.txt"
  File "${PROGRAMS}/libraries.txt"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  WriteRegStr HKLM "${UNINSTALL}" "DisplayName" "${NAME}"
  WriteRegStr HKLM "${UNINSTALL}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKLM "${UNINSTALL}" "DisplayIcon" "$INSTDIR\dr-server.exe"
  WriteRegStr HKLM "${UNINSTALL}" "Publisher" "Orvane"
  WriteRegStr HKLM "${UNINSTALL}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKLM "${UNINSTALL}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${UNINSTALL}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKLM "${UNINSTALL}" "NoModify" 1
  WriteRegDWORD HKLM "${UNINSTALL}" "NoRepair" 1
SectionEnd

Section "Start menu entry" SecStartMenu
  SetShellVarContext all
  !insertmacro Shortcut "$SMPROGRAMS"
SectionEnd

Section "Start with Windows" SecStartup
  SetShellVarContext all
  !insertmacro Shortcut "$SMSTARTUP"
SectionEnd

Section "Firewall rules (UDP 19666, TCP 19668)" SecFirewall
  !insertmacro FirewallRule "${NAME} (discovery)" UDP 19666
  !insertmacro FirewallRule "${NAME} (masters)" TCP 19668
SectionEnd

Section "Uninstall"
  SetShellVarContext all
  !insertmacro NothingRuns
  nsExec::Exec 'netsh advfirewall firewall delete rule name="${NAME} (discovery)"'
  Pop $0
  nsExec::Exec 'netsh advfirewall firewall delete rule name="${NAME} (masters)"'
  Pop $0
  Delete "$SMPROGRAMS\${NAME}.lnk"
  Delete "$SMSTARTUP\${NAME}.lnk"
  Delete "$INSTDIR\dr-server.exe"
  Delete "$INSTDIR\dr-server-headless.exe"
  Delete "$INSTDIR\dr-master.exe"
  Delete "$INSTDIR\README.txt"
  Delete "$INSTDIR\libraries.txt"
  Delete "$INSTDIR\uninstall.exe"
  ; Only if nothing else lies there: a data folder is the user's.
  RMDir "$INSTDIR"
  DeleteRegKey HKLM "${UNINSTALL}"
SectionEnd
