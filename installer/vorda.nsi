; The installer. scripts/release calls makensis with VERSION, BYTES (installed, in KiB), OUT, LISTS (a folder
; with the lists of files) and, where programs are signed, SIGN (a command that takes a file).
;
;   setup.exe [/S] [/ALLUSERS | /CURRENTUSER] [/SERVICE [/ACCOUNT=name /PASSWORD=text]] [/EXPLORER]
;             [/DOWNGRADE] [/D=folder]          /S: without windows; /D comes last, and takes no quotes
;   uninstall.exe [/S] [/KEEP]                  /KEEP: settings, deletion log and crash reports stay
;
; Ends with 0 when done, 1 when the user cancelled, 2 when it refused or failed; the log in the window
; says why, and with /S standard error does where there is one.
Target amd64-unicode
Unicode true
ManifestSupportedOS Win10
ManifestDPIAware true
SetCompressor /SOLID lzma
SetDateSave off ; the same files give the same installer, whenever they were made
SetOverwrite try
RequestExecutionLevel highest
Name "Vorda"
OutFile "${OUT}"
BrandingText "Vorda ${VERSION}"
Icon "${LISTS}/vorda.ico"
UninstallIcon "${LISTS}/vorda.ico"
ShowInstDetails show
ShowUninstDetails show

!include LogicLib.nsh
!include FileFunc.nsh
!include WordFunc.nsh
!include WinMessages.nsh
!include Sections.nsh

!ifdef SIGN
  !uninstfinalize '${SIGN} "%1"'
!endif

!define KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Vorda"
!define SETTINGS "Software\Brixmoor\Vorda"
!define SERVICE "VordaAgent"
!define SERVICE_ALL_ACCESS 0xF01FF
!define REFUSED 2

Var AllUsers  ; 1: for all users of this machine, 0: for this one
Var Present   ; the version that is there already
Var Account   ; of the service; empty: the local system
Var Password
Var Keep

VIProductVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "Vorda"
VIAddVersionKey "CompanyName" "Brixmoor"
VIAddVersionKey "FileDescription" "Installs Vorda"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "LegalCopyright" ""

PageEx license
  LicenseText "What Vorda is built of, and whose it is" "Next"
  LicenseData "LICENCE.txt"
PageExEnd
Page components
Page directory
Page instfiles
UninstPage uninstConfirm
UninstPage instfiles

; Shown, logged, and the end.
!macro Refuse text
  DetailPrint "${text}"
  ${If} ${Silent}
    System::Call 'kernel32::GetStdHandle(i -12) p.r9'
    FileWrite $9 "${text}$\r$\n"
  ${Else}
    MessageBox MB_OK|MB_ICONSTOP "${text}"
  ${EndIf}
  SetErrorLevel ${REFUSED}
  Quit
!macroend

; Runs vorda.exe of the installation with an option and the folder, and leaves its exit code on the stack.
!macro OwnStep option
  nsExec::ExecToLog '"$INSTDIR\vorda.exe" ${option} "$INSTDIR"'
!macroend

!macro ForWhom
  SetRegView 64
  ${If} $AllUsers = 1
    SetShellVarContext all
  ${Else}
    SetShellVarContext current
  ${EndIf}
!macroend

Section "Vorda"
  SectionIn RO
  ; Every copy that runs from here is closed, and remembered: agents and the service come back afterwards.
  ${If} ${FileExists} "$INSTDIR\vorda.exe"
    !insertmacro OwnStep "--close-for-update"
    Pop $0
    ${If} $0 <> 0
      !insertmacro OwnStep "--restart-after-update"
      Pop $0
      !insertmacro Refuse "A Vorda that runs from this folder could not be closed. Close it, and start the installer again."
    ${EndIf}
  ${EndIf}
  ClearErrors
  !include "${LISTS}/install.nsh"
  ${If} ${Errors}
    !insertmacro OwnStep "--restart-after-update"
    Pop $0
    !insertmacro Refuse "Files could not be replaced. Is something else using them?"
  ${EndIf}
  SetOutPath "$INSTDIR"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  CreateShortcut "$SMPROGRAMS\Vorda.lnk" "$INSTDIR\vorda.exe"
  WriteRegStr SHCTX "${KEY}" "DisplayName" "Vorda"
  WriteRegStr SHCTX "${KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr SHCTX "${KEY}" "DisplayIcon" "$INSTDIR\vorda.exe"
  WriteRegStr SHCTX "${KEY}" "Publisher" "Brixmoor"
  WriteRegStr SHCTX "${KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr SHCTX "${KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr SHCTX "${KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD SHCTX "${KEY}" "EstimatedSize" ${BYTES}
  WriteRegDWORD SHCTX "${KEY}" "NoModify" 1
  WriteRegDWORD SHCTX "${KEY}" "NoRepair" 1
SectionEnd

Section /o "Agent for other machines, as a Windows service" WantService
  ${If} $AllUsers <> 1
    DetailPrint "The service is for all users: it was left out."
  ${Else}
    Call MakeService
  ${EndIf}
SectionEnd

Section /o "Explorer entry: Show what takes up space" WantExplorer
  ; Two places: a drive's path ends in a backslash, which in quotes would quote the quote.
  WriteRegStr SHCTX "Software\Classes\Directory\shell\Vorda" "" "Show what takes up space"
  WriteRegStr SHCTX "Software\Classes\Directory\shell\Vorda" "Icon" "$INSTDIR\vorda.exe"
  WriteRegStr SHCTX "Software\Classes\Directory\shell\Vorda\command" "" '"$INSTDIR\vorda.exe" --scan "%1"'
  WriteRegStr SHCTX "Software\Classes\Drive\shell\Vorda" "" "Show what takes up space"
  WriteRegStr SHCTX "Software\Classes\Drive\shell\Vorda" "Icon" "$INSTDIR\vorda.exe"
  WriteRegStr SHCTX "Software\Classes\Drive\shell\Vorda\command" "" '"$INSTDIR\vorda.exe" --scan %1'
SectionEnd

; Last: what was closed is started again, now of the new version.
Section "-restart"
  !insertmacro OwnStep "--restart-after-update"
  Pop $0
  SetErrorLevel 0
SectionEnd

; Through the functions of Windows rather than its command, whose command line would show the password.
Function MakeService
  System::Call 'advapi32::OpenSCManagerW(p 0, p 0, i 3) p.r1'
  System::Call 'advapi32::OpenServiceW(p r1, w "${SERVICE}", i ${SERVICE_ALL_ACCESS}) p.r2'
  ${If} $2 P= 0
    StrCpy $3 "$Account"
    StrCpy $4 '"$INSTDIR\vorda.exe" --service'
    ${If} $3 == ""
      System::Call 'advapi32::CreateServiceW(p r1, w "${SERVICE}", w "Vorda agent", i ${SERVICE_ALL_ACCESS}, i 16, i 2, i 1, w r4, p 0, p 0, p 0, p 0, p 0) p.r2 ?e'
    ${Else}
      nsExec::ExecToLog '"$INSTDIR\vorda.exe" --grant-service-logon "$3"'
      Pop $0
      StrCpy $5 "$Password"
      System::Call 'advapi32::CreateServiceW(p r1, w "${SERVICE}", w "Vorda agent", i ${SERVICE_ALL_ACCESS}, i 16, i 2, i 1, w r4, p 0, p 0, p 0, w r3, w r5) p.r2 ?e'
      StrCpy $Password ""
      StrCpy $5 ""
    ${EndIf}
    Pop $0
    ${If} $2 P= 0
      System::Call 'advapi32::CloseServiceHandle(p r1)'
      !insertmacro Refuse "The service could not be made (Windows says $0). Vorda itself is installed."
    ${EndIf}
    DetailPrint "The service ${SERVICE} was made."
  ${EndIf}
  System::Call 'advapi32::StartServiceW(p r2, i 0, p 0) i.r0'
  System::Call 'advapi32::CloseServiceHandle(p r2)'
  System::Call 'advapi32::CloseServiceHandle(p r1)'
FunctionEnd

Function .onInit
  UserInfo::GetAccountType
  Pop $1
  StrCpy $AllUsers 0
  ${If} $1 == "Admin"
    StrCpy $AllUsers 1
  ${EndIf}
  ${GetParameters} $R0
  ClearErrors
  ${GetOptions} $R0 "/CURRENTUSER" $0
  ${IfNot} ${Errors}
    StrCpy $AllUsers 0
  ${EndIf}
  ClearErrors
  ${GetOptions} $R0 "/ALLUSERS" $0
  ${IfNot} ${Errors}
    ${If} $1 != "Admin"
      !insertmacro Refuse "Installing for all users needs administrator rights."
    ${EndIf}
    StrCpy $AllUsers 1
  ${EndIf}
  !insertmacro ForWhom
  ; An upgrade goes where the earlier version is.
  ReadRegStr $Present SHCTX "${KEY}" "DisplayVersion"
  ReadRegStr $0 SHCTX "${KEY}" "InstallLocation"
  ${If} $INSTDIR == ""
    ${If} $0 != ""
      StrCpy $INSTDIR $0
    ${ElseIf} $AllUsers = 1
      StrCpy $INSTDIR "$PROGRAMFILES64\Vorda"
    ${Else}
      StrCpy $INSTDIR "$LOCALAPPDATA\Programs\Vorda"
    ${EndIf}
  ${EndIf}
  ${If} $Present != ""
    ${VersionCompare} "$Present" "${VERSION}" $0
    ClearErrors
    ${GetOptions} $R0 "/DOWNGRADE" $2
    ${If} $0 = 1
    ${AndIf} ${Errors}
      !insertmacro Refuse "Vorda $Present is newer than this installer's ${VERSION}. With /DOWNGRADE it is replaced all the same."
    ${EndIf}
  ${EndIf}
  ClearErrors
  ${GetOptions} $R0 "/SERVICE" $0
  ${IfNot} ${Errors}
    !insertmacro SelectSection ${WantService}
  ${EndIf}
  ClearErrors
  ${GetOptions} $R0 "/EXPLORER" $0
  ${IfNot} ${Errors}
    !insertmacro SelectSection ${WantExplorer}
  ${EndIf}
  ClearErrors
  ${GetOptions} $R0 "/ACCOUNT=" $Account
  ${GetOptions} $R0 "/PASSWORD=" $Password
  ClearErrors
FunctionEnd

; ---- removal -------------------------------------------------------------------------------------

Function un.onInit
  SetRegView 64
  ; The installation says whose it is: the one that is entered with this folder.
  StrCpy $AllUsers 0
  ReadRegStr $0 HKLM "${KEY}" "InstallLocation"
  ${If} $0 == $INSTDIR
    StrCpy $AllUsers 1
  ${EndIf}
  !insertmacro ForWhom
  ${GetParameters} $R0
  StrCpy $Keep 0
  ClearErrors
  ${GetOptions} $R0 "/KEEP" $0
  ${IfNot} ${Errors}
    StrCpy $Keep 1
  ${ElseIfNot} ${Silent}
    MessageBox MB_YESNO|MB_ICONQUESTION|MB_DEFBUTTON1 "Keep the settings, the list of what was deleted, and crash reports?" IDNO +2
    StrCpy $Keep 1
  ${EndIf}
FunctionEnd

Section "Uninstall"
  !insertmacro OwnStep "--close-for-removal"
  Pop $0
  ${If} $0 <> 0
    !insertmacro Refuse "A Vorda that runs from this folder could not be closed. Close it, and try again."
  ${EndIf}
  ; Only a service of this folder.
  ReadRegStr $0 HKLM "SYSTEM\CurrentControlSet\Services\${SERVICE}" "ImagePath"
  ${If} $0 == '"$INSTDIR\vorda.exe" --service'
    System::Call 'advapi32::OpenSCManagerW(p 0, p 0, i 1) p.r1'
    System::Call 'advapi32::OpenServiceW(p r1, w "${SERVICE}", i 0x10000) p.r2'
    System::Call 'advapi32::DeleteService(p r2)'
    System::Call 'advapi32::CloseServiceHandle(p r2)'
    System::Call 'advapi32::CloseServiceHandle(p r1)'
  ${EndIf}
  !include "${LISTS}/remove.nsh"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR\api"
  SetOutPath "$TEMP" ; a current folder cannot be removed
  RMDir "$INSTDIR"
  Delete "$SMPROGRAMS\Vorda.lnk"
  ReadRegStr $0 SHCTX "Software\Classes\Directory\shell\Vorda" "Icon"
  ${If} $0 == "$INSTDIR\vorda.exe"
    DeleteRegKey SHCTX "Software\Classes\Directory\shell\Vorda"
    DeleteRegKey SHCTX "Software\Classes\Drive\shell\Vorda"
    DeleteRegKey /ifempty SHCTX "Software\Classes\Directory\shell"
    DeleteRegKey /ifempty SHCTX "Software\Classes\Drive\shell"
    DeleteRegKey /ifempty SHCTX "Software\Classes\Directory"
    DeleteRegKey /ifempty SHCTX "Software\Classes\Drive"
  ${EndIf}
  DeleteRegKey SHCTX "${KEY}"
  ${If} $Keep = 0
    ${If} $AllUsers = 1
      DeleteRegKey HKLM "${SETTINGS}"
      DeleteRegKey HKLM "Software\Brixmoor\VordaUpdate"
      DeleteRegKey /ifempty HKLM "Software\Brixmoor"
    ${EndIf}
    SetShellVarContext current
    Delete "$LOCALAPPDATA\Vorda\verwijderd.log"
    Delete "$LOCALAPPDATA\Vorda\crash-*.dmp"
    RMDir "$LOCALAPPDATA\Vorda"
  ${EndIf}
SectionEnd
