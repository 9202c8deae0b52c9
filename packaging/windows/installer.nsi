; Built by scripts/package-windows, which defines PROGRAMS besides what common.nsh needs.
!include "${SOURCE}/packaging/windows/common.nsh"

; Shortcuts start the server here, so that its data lies in a folder that its user may write and no
; other user may. Expanded by the shell for whoever uses the shortcut.
!define WORKING "%LOCALAPPDATA%"

Name "${NAME} ${VERSION}"
InstallDir "$PROGRAMFILES64\${NAME}"
InstallDirRegKey HKLM "${UNINSTALL}" "InstallLocation"
VIAddVersionKey "FileDescription" "${NAME} installer"

!define MUI_FINISHPAGE_RUN
!define MUI_FINISHPAGE_RUN_FUNCTION StartDesktop
!define MUI_PAGE_CUSTOMFUNCTION_SHOW ShowRunBox
!define MUI_COMPONENTSPAGE_SMALLDESC
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_LANGUAGE "English"

Var DesktopRan
Var Account
Var PasswordFile
Var RemoteScope

; As the user who sits there, not as the administrator that the installer runs as.
Function StartDesktop
  ${If} ${FileExists} "$SMPROGRAMS\${NAME}.lnk"
    Exec '"$WINDIR\explorer.exe" "$SMPROGRAMS\${NAME}.lnk"'
  ${ElseIf} ${FileExists} "$SMSTARTUP\${NAME}.lnk"
    Exec '"$WINDIR\explorer.exe" "$SMSTARTUP\${NAME}.lnk"'
  ${Else}
    ${Say} "There is no shortcut: start the server yourself"
  ${EndIf}
FunctionEnd

!macro Shortcut FOLDER ARGUMENTS
  StrCpy $OUTDIR "${WORKING}"
  CreateShortcut "${FOLDER}\${NAME}.lnk" "$INSTDIR\dr-server.exe" "${ARGUMENTS}"
  SetOutPath "$INSTDIR"
!macroend

; For each program, because a rule that names none opens the port for all.
!macro FirewallRule TITLE PROGRAM PROTOCOL PORT
  ${Run} '"$SYSDIR\netsh.exe" advfirewall firewall add rule name="${NAME} (${TITLE})" dir=in action=allow program="$INSTDIR\${PROGRAM}" protocol=${PROTOCOL} localport=${PORT} profile=domain,private$R1'
  ${If} $0 != 0
    StrCpy $Failure ${FIREWALL_FAILED}
  ${EndIf}
!macroend

Section "Programs" SecPrograms
  SectionIn RO
  SetShellVarContext all
  ; A window program of this session is started again afterwards.
  System::Call 'kernel32::OpenEventW(i 0x100000, i 0, w "Local\OrvaneDrServerWindow") p .r0'
  StrCpy $DesktopRan $0
  System::Call 'kernel32::CloseHandle(p r0)'
  InitPluginsDir
  File "/oname=$PLUGINSDIR\stop.exe" "${PROGRAMS}/dr-server-headless.exe"
  !insertmacro StopServers "$PLUGINSDIR\stop.exe"
  SetOutPath "$INSTDIR"
  ${Say} "Installing into $INSTDIR"
  ClearErrors
  File "${PROGRAMS}/dr-server.exe"
  File "${PROGRAMS}/dr-server-headless.exe"
  File "${PROGRAMS}/dr-master.exe"
  File "${PROGRAMS}/uninstall.exe"
  File "${PROGRAMS}/README.txt"
  File "${PROGRAMS}/libraries.txt"
  ${If} ${Errors}
    ${Fail} ${FILE_IN_USE} "The programs cannot be written into $INSTDIR."
  ${EndIf}
  WriteRegStr HKLM "${UNINSTALL}" "DisplayName" "${NAME}"
  WriteRegStr HKLM "${UNINSTALL}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKLM "${UNINSTALL}" "DisplayIcon" "$INSTDIR\dr-server.exe"
  WriteRegStr HKLM "${UNINSTALL}" "Publisher" "Orvane"
  WriteRegStr HKLM "${UNINSTALL}" "HelpLink" "$INSTDIR\README.txt"
  WriteRegStr HKLM "${UNINSTALL}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKLM "${UNINSTALL}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${UNINSTALL}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  ${GetTime} "" "L" $1 $2 $3 $4 $5 $6 $7
  WriteRegStr HKLM "${UNINSTALL}" "InstallDate" "$3$2$1"
  ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
  WriteRegDWORD HKLM "${UNINSTALL}" "EstimatedSize" $0
  WriteRegDWORD HKLM "${UNINSTALL}" "NoModify" 1
  WriteRegDWORD HKLM "${UNINSTALL}" "NoRepair" 1
  ; What is not selected any more goes.
  Delete "$SMPROGRAMS\${NAME}.lnk"
  Delete "$SMSTARTUP\${NAME}.lnk"
  !insertmacro RemoveFirewallRules
SectionEnd

Section "Start menu entry" SecStartMenu
  !insertmacro Shortcut "$SMPROGRAMS" ""
SectionEnd

Section "Start when a user logs on" SecLogon
  !insertmacro Shortcut "$SMSTARTUP" "--autostart"
SectionEnd

Section "Firewall rules (UDP 19666, TCP 19668)" SecFirewall
  StrCpy $R1 ""
  ${If} $RemoteScope != ""
    StrCpy $R1 " remoteip=$RemoteScope"
  ${EndIf}
  ${Say} "Adding firewall rules$R1"
  !insertmacro FirewallRule "discovery" "dr-server.exe" UDP 19666
  !insertmacro FirewallRule "discovery" "dr-server-headless.exe" UDP 19666
  !insertmacro FirewallRule "masters" "dr-server.exe" TCP 19668
  !insertmacro FirewallRule "masters" "dr-server-headless.exe" TCP 19668
  ${If} $Failure == ${FIREWALL_FAILED}
    ${Say} "A firewall rule could not be added: is the Windows firewall off?"
    MessageBox MB_OK|MB_ICONEXCLAMATION "A firewall rule could not be added. If the Windows firewall is off, that is well; if not, add the rules as README.txt says." /SD IDOK
  ${EndIf}
SectionEnd

Section /o "Windows service, without a window" SecService
  ${Say} "Making the service"
  StrCpy $R1 ""
  ${If} $Account != ""
    StrCpy $R1 ' --account "$Account"'
  ${EndIf}
  ${Run} '"$SYSDIR\cmd.exe" /d /s /c ""$INSTDIR\dr-server-headless.exe" --install-service$R1 < "$PasswordFile" 2>&1"'
  ${If} $0 != 0
    StrCpy $Failure ${SERVICE_FAILED}
    ${Say} "The service could not be made or started"
    MessageBox MB_OK|MB_ICONEXCLAMATION "The service could not be made or started:$\r$\n$\r$\n$1" /SD IDOK
  ${EndIf}
SectionEnd

Section "-end"
  ${IfNot} ${SectionIsSelected} ${SecService}
    ${Run} '"$INSTDIR\dr-server-headless.exe" --remove-service'
    ${If} $DesktopRan != 0
      ${Say} "Starting the server again"
      Call StartDesktop
    ${EndIf}
  ${EndIf}
  ; For the next installation without switches.
  ${ForEach} $1 ${SecStartMenu} ${SecService} + 1
    SectionGetFlags $1 $0
    IntOp $0 $0 & ${SF_SELECTED}
    WriteRegDWORD HKLM "${UNINSTALL}" "Component$1" $0
  ${Next}
  WriteRegStr HKLM "${UNINSTALL}" "RemoteScope" $RemoteScope
  ${Say} "Done: $Failure"
  FileClose $LogFile
  SetErrorLevel $Failure
SectionEnd

!macro Describe SECTION TEXT
  !insertmacro MUI_DESCRIPTION_TEXT ${${SECTION}} "${TEXT}"
!macroend
!insertmacro MUI_FUNCTION_DESCRIPTION_BEGIN
  !insertmacro Describe SecPrograms "The server with a window, the server without, and the command-line master."
  !insertmacro Describe SecStartMenu "For all users of this computer."
  !insertmacro Describe SecLogon "The server with a window, for workstations at which somebody is logged on. Each user's data lies in his local application data."
  !insertmacro Describe SecFirewall "Masters of domain and private networks may reach the server."
  !insertmacro Describe SecService "For nodes at which nobody logs on: starts with the computer. Its data lies in ProgramData. Choose the account with the service manager or with /ACCOUNT."
!insertmacro MUI_FUNCTION_DESCRIPTION_END

; With a service there is nothing to run in the end.
Function ShowRunBox
  ${If} ${SectionIsSelected} ${SecService}
    SendMessage $mui.FinishPage.Run ${BM_SETCHECK} ${BST_UNCHECKED} 0
    ShowWindow $mui.FinishPage.Run ${SW_HIDE}
  ${EndIf}
FunctionEnd

Function .onSelChange
  ; One of them has the ports.
  ${If} $0 == ${SecService}
  ${AndIf} ${SectionIsSelected} ${SecService}
    !insertmacro UnselectSection ${SecLogon}
  ${ElseIf} $0 == ${SecLogon}
  ${AndIf} ${SectionIsSelected} ${SecLogon}
    !insertmacro UnselectSection ${SecService}
  ${EndIf}
FunctionEnd

!macro Recall SECTION
  ReadRegDWORD $0 HKLM "${UNINSTALL}" "Component${SECTION}"
  ${IfNot} ${Errors}
    ${If} $0 == 0
      !insertmacro UnselectSection ${SECTION}
    ${Else}
      !insertmacro SelectSection ${SECTION}
    ${EndIf}
  ${EndIf}
  ClearErrors
!macroend

; /NAME selects a component, /NONAME leaves it out.
!macro ReadSwitch SWITCH SECTION
  ClearErrors
  ${GetOptions} $R0 "/${SWITCH}" $R1
  ${IfNot} ${Errors}
    !insertmacro SelectSection ${SECTION}
  ${EndIf}
  ClearErrors
  ${GetOptions} $R0 "/NO${SWITCH}" $R1
  ${IfNot} ${Errors}
    !insertmacro UnselectSection ${SECTION}
  ${EndIf}
!macroend

Function .onInit
  !insertmacro ReadCommonSwitches "$TEMP\OrvaneDrServer-setup.log"
  ${IfNot} ${AtLeastWin7}
    ${Fail} ${WINDOWS_TOO_OLD} "${NAME} needs Windows 7, Windows Server 2008 R2 or newer."
  ${EndIf}
  ClearErrors
  !insertmacro Recall ${SecStartMenu}
  !insertmacro Recall ${SecLogon}
  !insertmacro Recall ${SecFirewall}
  !insertmacro Recall ${SecService}
  !insertmacro ReadSwitch "STARTMENU" ${SecStartMenu}
  !insertmacro ReadSwitch "FIREWALL" ${SecFirewall}
  !insertmacro ReadSwitch "SERVICE" ${SecService}
  ${If} ${SectionIsSelected} ${SecService}
    !insertmacro UnselectSection ${SecLogon}
  ${EndIf}
  !insertmacro ReadSwitch "LOGON" ${SecLogon}
  ${ReadValue} "/ACCOUNT=" $Account ""
  ${ReadValue} "/PASSWORDFILE=" $PasswordFile "NUL"
  ReadRegStr $RemoteScope HKLM "${UNINSTALL}" "RemoteScope"
  ${ReadValue} "/REMOTE=" $RemoteScope $RemoteScope
FunctionEnd
