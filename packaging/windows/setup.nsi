; The setup program. packaging/windows/make.py calls makensis with edition.nsh, which it writes:
;   VERSION, EDITION, PUBLISHER, SHORT_NAME, LONG_NAME, OUTPUT, FILES (the folder with what is
;   installed), and the macros EachItem and EachValue.
; Exit codes are listed in docs/administrators.md.

Unicode true
ManifestDPIAware true
RequestExecutionLevel admin
SetDateSave off
CRCCheck force

!include LogicLib.nsh
!include FileFunc.nsh
!include WinVer.nsh
!include WordFunc.nsh
!include MUI2.nsh
!include edition.nsh

SetCompressor ${COMPRESSOR}

; 1 is NSIS's own: the user cancelled.
!define ROLLED_BACK 2
!define NO_RIGHTS 3
!define OUTLOOK_RUNS 4
!define OLD_SYSTEM 5
!define OTHER_INSTALLED 6
!define BAD_SWITCH 7

!define PRODUCT_KEY "Software\Nimbra Communications\Corvessa Professional"
!define VERSION_KEY "${PRODUCT_KEY}\Plugin\Version"
!define SETUP_KEY "${PRODUCT_KEY}\Plugin\Setup"
; All editions replace each other, so they share one entry in the system's list of programs.
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Corvessa Professional"

Name "${LONG_NAME}"
OutFile "${OUTPUT}"
InstallDir "$PROGRAMFILES32\${EDITION}"
BrandingText "${LONG_NAME} ${VERSION}"
VIProductVersion "${VERSION}.0"
VIAddVersionKey ProductName "${LONG_NAME}"
VIAddVersionKey ProductVersion "${VERSION}"
VIAddVersionKey FileDescription "${LONG_NAME} Setup"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey CompanyName "${PUBLISHER}"
VIAddVersionKey LegalCopyright "${PUBLISHER}"

!insertmacro MUI_PAGE_WELCOME
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!define MUI_FINISHPAGE_RUN "$WINDIR\explorer.exe"
!define MUI_FINISHPAGE_RUN_PARAMETERS "$\"$INSTDIR\help\index.html$\""
!define MUI_FINISHPAGE_RUN_TEXT "Show the first steps"
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE English

; The version that is being replaced; empty for a first installation.
Var Replaced
; Whether files are in their places, so that failing must put the old ones back.
Var Moved
; Names of the fixed values that this run has added, each between "|".
Var Added
; The administrator's file of fixed values; empty when none is given.
Var Values

; Says a text to everybody: in a box, in the log and to the program that started a silent run.
!macro Say TEXT
  Push `${TEXT}`
  Call ${UN}Say
!macroend
!define Say "!insertmacro Say"

!macro CommonFunctions
  Function ${UN}Say
    Exch $0
    Push $1
    System::Call 'kernel32::GetStdHandle(i -11) p.r1'
    ${If} $1 P> 0
      FileWrite $1 "$0$\r$\n"
    ${EndIf}
    ClearErrors
    FileOpen $1 "$TEMP\${EDITION}Setup.log" a
    ${IfNot} ${Errors}
      FileSeek $1 0 END
      FileWriteUTF16LE /BOM $1 "$0$\r$\n"
      FileClose $1
    ${EndIf}
    ClearErrors
    MessageBox MB_OK|MB_ICONINFORMATION "$0" /SD IDOK
    Pop $1
    Pop $0
  FunctionEnd

  Function ${UN}CheckRights
    UserInfo::GetAccountType
    Pop $0
    ${If} $0 != "Admin"
      ${Say} "${LONG_NAME} is installed for all users of this computer. That needs the rights of an administrator: log on as one, or ask yours, then start again."
      SetErrorLevel ${NO_RIGHTS}
      Quit
    ${EndIf}
  FunctionEnd

  ; A loaded DLL can be neither replaced nor deleted.
  Function ${UN}CheckOutlook
    InitPluginsDir
    SetOutPath $PLUGINSDIR
    File "${SETUP_DLL}"
    ${Do}
      System::Call '$PLUGINSDIR\corvessa_setup.dll::OutlookRuns() i.r0 ? u'
      ${If} $0 == 0
        ${Break}
      ${EndIf}
      ${If} ${Silent}
      ${OrIf} ${Cmd} `MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "Outlook is running. Close it (File menu, Exit), then choose Retry." /SD IDCANCEL IDCANCEL`
        ${Say} "Outlook is running. Nothing was changed. Close Outlook (File menu, Exit), or end OUTLOOK.EXE in the Task Manager if no window is open, then start again."
        SetErrorLevel ${OUTLOOK_RUNS}
        Quit
      ${EndIf}
    ${Loop}
    SetOutPath $TEMP
  FunctionEnd
!macroend

!define UN ""
!insertmacro CommonFunctions
!undef UN
!define UN "un."
!insertmacro CommonFunctions
!undef UN
!define UN ""

; --- Installing ---

Function .onInit
  SetShellVarContext all
  ${IfNot} ${AtLeastWinVista}
    ${Say} "${LONG_NAME} needs Windows Vista or later."
    SetErrorLevel ${OLD_SYSTEM}
    Quit
  ${EndIf}
  Call CheckRights
  Call CheckSwitches
  Call CheckInstalled
  Call CheckOutlook
FunctionEnd

Function CheckSwitches
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/VALUES=" $Values
  ${If} ${Errors}
    ClearErrors
    Return
  ${EndIf}
  GetFullPathName $1 $Values
  ${IfNot} ${FileExists} $1
    ${Say} "The file of values, $Values, was not found."
    SetErrorLevel ${BAD_SWITCH}
    Quit
  ${EndIf}
  StrCpy $Values $1
FunctionEnd

Function CheckInstalled
  ReadRegStr $0 HKLM "${SETUP_KEY}" InstalledBy
  ${If} $0 == "msi"
    ${Say} "${LONG_NAME} was installed with the .msi package. Update it with a newer .msi, or remove it first."
    SetErrorLevel ${OTHER_INSTALLED}
    Quit
  ${EndIf}
  ReadRegStr $Replaced HKLM "${UNINSTALL_KEY}" DisplayVersion
  ${VersionCompare} "$Replaced" "${VERSION}" $0
  ${If} $Replaced != ""
  ${AndIf} $0 == 1
    ${Say} "Version $Replaced is installed, which is newer than ${VERSION}. Nothing was changed."
    SetErrorLevel ${OTHER_INSTALLED}
    Quit
  ${EndIf}
  ReadRegStr $0 HKLM "${UNINSTALL_KEY}" InstallLocation
  ${If} $0 != ""
    StrCpy $INSTDIR $0
  ${EndIf}
FunctionEnd

; A failing step undoes all before it, so that the version before goes on working.
!macro Check STEP
  ${If} ${Errors}
    Push "${STEP}"
    Call FailStep
  ${EndIf}
!macroend
!define Check "!insertmacro Check"

!macro Register DLL
  ClearErrors
  ExecWait '"$SYSDIR\regsvr32.exe" /s "$INSTDIR\${DLL}"' $0
  ${If} $0 != 0
    SetErrors
  ${EndIf}
!macroend

!macro Unregister DLL
  ${If} ${FileExists} "$INSTDIR\${DLL}"
    ExecWait '"$SYSDIR\regsvr32.exe" /u /s "$INSTDIR\${DLL}"' $0
  ${EndIf}
!macroend

!macro KeepOld ITEM
  ${If} ${FileExists} "$INSTDIR\${ITEM}"
    Rename "$INSTDIR\${ITEM}" "$INSTDIR\.old\${ITEM}"
  ${EndIf}
!macroend

!macro PutNew ITEM
  Rename "$INSTDIR\.new\${ITEM}" "$INSTDIR\${ITEM}"
!macroend

!macro RemoveItem ITEM
  Delete "$INSTDIR\${ITEM}"
  RMDir /r "$INSTDIR\${ITEM}"
!macroend

!macro PutOldBack ITEM
  ${If} ${FileExists} "$INSTDIR\.old\${ITEM}"
    !insertmacro RemoveItem "${ITEM}"
    Rename "$INSTDIR\.old\${ITEM}" "$INSTDIR\${ITEM}"
  ${ElseIfNot} ${FileExists} "$INSTDIR\.new\${ITEM}"
    !insertmacro RemoveItem "${ITEM}"
  ${EndIf}
!macroend

; A value that is there stays: an administrator may have changed it. The names are the edition's.
!macro WriteValue NAME TYPE DEFAULT KIND
  ClearErrors
  ReadReg${TYPE} $1 HKLM "${VERSION_KEY}" "${NAME}"
  ${If} ${Errors}
    StrCpy $2 missing
    StrCpy $Added "$Added|${NAME}|"
  ${Else}
    StrCpy $2 ${KIND}
  ${EndIf}
  ClearErrors
  StrCpy $1 ""
  ${If} $Values != ""
    ReadINIStr $1 "$Values" values "${NAME}"
    ClearErrors
  ${EndIf}
  ${If} $1 != ""
    WriteReg${TYPE} HKLM "${VERSION_KEY}" "${NAME}" "$1"
  ${ElseIf} $2 != "kept"
    WriteReg${TYPE} HKLM "${VERSION_KEY}" "${NAME}" "${DEFAULT}"
  ${EndIf}
  ${Check} "writing the value ${NAME} to the registry"
!macroend

!macro DropAddedValue NAME TYPE DEFAULT KIND
  ${WordFind} "$Added" "|${NAME}|" "E*" $1
  ${IfNot} ${Errors}
    DeleteRegValue HKLM "${VERSION_KEY}" "${NAME}"
  ${EndIf}
  ClearErrors
!macroend

!macro DropValue NAME TYPE DEFAULT KIND
  DeleteRegValue HKLM "${VERSION_KEY}" "${NAME}"
!macroend

!macro DropEmptyKeys
  DeleteRegKey /ifempty HKLM "${VERSION_KEY}"
  DeleteRegKey /ifempty HKLM "${PRODUCT_KEY}\Plugin"
  DeleteRegKey /ifempty HKLM "${PRODUCT_KEY}"
  DeleteRegKey /ifempty HKLM "Software\Nimbra Communications"
  ; The add-in's own key is gone with its registration.
  DeleteRegKey /ifempty HKLM "Software\Microsoft\Office\Outlook\Addins"
  DeleteRegKey /ifempty HKLM "Software\Microsoft\Office\Outlook"
  DeleteRegKey /ifempty HKLM "Software\Microsoft\Office"
!macroend

Function FailStep
  Exch $9
  Call RollBack
  ${If} $Replaced == ""
    ${Say} "Setup failed at $9. Everything was put back; ${LONG_NAME} is not installed."
  ${Else}
    ${Say} "Setup failed at $9. Everything was put back; version $Replaced is still installed."
  ${EndIf}
  SetErrorLevel ${ROLLED_BACK}
  Quit
FunctionEnd

Function RollBack
  SetOutPath $TEMP
  ${If} $Moved == 1
    !insertmacro Unregister CorvessaPro_OL.dll
    !insertmacro Unregister corvessa_engine.dll
    !insertmacro EachItem PutOldBack
    ${If} $Replaced != ""
      !insertmacro Register corvessa_engine.dll
      !insertmacro Register CorvessaPro_OL.dll
    ${EndIf}
    !insertmacro EachValue DropAddedValue
    ${If} $Replaced == ""
      DeleteRegKey HKLM "${UNINSTALL_KEY}"
      DeleteRegKey HKLM "${SETUP_KEY}"
      RMDir /r "$SMPROGRAMS\${SHORT_NAME}"
    ${EndIf}
    !insertmacro DropEmptyKeys
  ${EndIf}
  RMDir /r "$INSTDIR\.new"
  RMDir /r "$INSTDIR\.old"
  RMDir "$INSTDIR"
FunctionEnd

Function .onInstFailed
  Push "copying files"
  Call FailStep
FunctionEnd

Section
  ; All files are there before the first one takes its place.
  SetOverwrite try
  RMDir /r "$INSTDIR\.new"
  RMDir /r "$INSTDIR\.old"
  ClearErrors
  CreateDirectory "$INSTDIR\.new"
  CreateDirectory "$INSTDIR\.old"
  ${Check} "creating the folder $INSTDIR"
  SetOutPath "$INSTDIR\.new"
  File /r "${FILES}/*.*"
  ${Check} "copying files to $INSTDIR"
  WriteUninstaller "$INSTDIR\.new\uninstall.exe"
  ${Check} "writing the uninstaller"
  SetOutPath $TEMP

  StrCpy $Moved 1
  ClearErrors
  !insertmacro EachItem KeepOld
  !insertmacro EachItem PutNew
  ${Check} "replacing files in $INSTDIR"

  !insertmacro Register corvessa_engine.dll
  ${Check} "registering corvessa_engine.dll"
  !insertmacro Register CorvessaPro_OL.dll
  ${Check} "registering CorvessaPro_OL.dll"
  !insertmacro EachValue WriteValue

  ClearErrors
  WriteRegStr HKLM "${SETUP_KEY}" InstalledBy setup
  WriteRegStr HKLM "${UNINSTALL_KEY}" DisplayName "${LONG_NAME}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" DisplayVersion "${VERSION}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" DisplayIcon "$INSTDIR\uninstall.exe"
  WriteRegStr HKLM "${UNINSTALL_KEY}" Publisher "${PUBLISHER}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" InstallLocation "$INSTDIR"
  WriteRegStr HKLM "${UNINSTALL_KEY}" UninstallString '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${UNINSTALL_KEY}" QuietUninstallString '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" NoModify 1
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" NoRepair 1
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" EstimatedSize ${KILOBYTES}
  ${Check} "writing the entry in the list of programs"

  CreateDirectory "$SMPROGRAMS\${SHORT_NAME}"
  CreateShortCut "$SMPROGRAMS\${SHORT_NAME}\Help.lnk" "$INSTDIR\help\index.html"
  CreateShortCut "$SMPROGRAMS\${SHORT_NAME}\Keys.lnk" "$SYSDIR\cmd.exe" '/k "$INSTDIR\keys.cmd"'

  RMDir /r "$INSTDIR\.new"
  RMDir /r "$INSTDIR\.old"
  Call ReportMissingLibraries
  SetErrorLevel 0
SectionEnd

!macro ReportMissingLibrary NUMBER
  System::Call '$PLUGINSDIR\corvessa_setup.dll::MissingLibrary(i ${NUMBER}, w .r0) ? cu'
  ${If} $0 != ""
    ${Say} "$0"
  ${EndIf}
!macroend

; They come with other products; without them mail cannot be protected.
Function ReportMissingLibraries
  !insertmacro ReportMissingLibrary 0
  !insertmacro ReportMissingLibrary 1
FunctionEnd

; --- Removing ---

!undef UN
!define UN "un."

Function un.onInit
  SetShellVarContext all
  ReadRegStr $0 HKLM "${UNINSTALL_KEY}" InstallLocation
  ${If} $0 != ""
    StrCpy $INSTDIR $0
  ${EndIf}
  Call un.CheckRights
  Call un.CheckOutlook
FunctionEnd

Section Uninstall
  !insertmacro Unregister CorvessaPro_OL.dll
  !insertmacro Unregister corvessa_engine.dll
  !insertmacro EachItem RemoveItem
  ${If} ${FileExists} "$INSTDIR\corvessa_engine.dll"
  ${OrIf} ${FileExists} "$INSTDIR\CorvessaPro_OL.dll"
    ${Say} "Files in $INSTDIR are in use and could not be deleted. Restart the computer and remove ${LONG_NAME} again."
    SetErrorLevel ${ROLLED_BACK}
    Quit
  ${EndIf}
  !insertmacro EachValue DropValue
  DeleteRegKey HKLM "${UNINSTALL_KEY}"
  DeleteRegKey HKLM "${SETUP_KEY}"
  !insertmacro DropEmptyKeys
  RMDir /r "$SMPROGRAMS\${SHORT_NAME}"
  RMDir "$INSTDIR"

  SetShellVarContext current
  StrCpy $1 "$APPDATA\Nimbra Communications\Corvessa Professional"
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/purge" $2
  ${IfNot} ${Errors}
    RMDir /r "$1"
    RMDir "$APPDATA\Nimbra Communications"
    DeleteRegKey HKCU "${PRODUCT_KEY}"
    DeleteRegKey /ifempty HKCU "Software\Nimbra Communications"
    ${Say} "${LONG_NAME} is removed, with the keys and settings of the user who ran this."
  ${Else}
    ${Say} "${LONG_NAME} is removed. Each user's keys are still in $1, the settings in the registry under HKEY_CURRENT_USER\${PRODUCT_KEY}. Protected mail can only be read with the keys: keep a copy."
  ${EndIf}
  SetErrorLevel 0
SectionEnd
