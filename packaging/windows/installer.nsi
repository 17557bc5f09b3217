; The installer for Windows: for one user, without an administrator. makensis -DVERSION=... -DFILES=folder
; -DICON=file -DOUT=file; /S installs and removes silently.
Unicode true
Target amd64-unicode
SetCompressor /SOLID lzma
!include "MUI2.nsh"

Name "Parvane"
OutFile "${OUT}"
InstallDir "$LOCALAPPDATA\Programs\Parvane"
InstallDirRegKey HKCU "Software\Parvane" "InstallDir"
RequestExecutionLevel user
ManifestLongPathAware true
VIProductVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "Parvane"
VIAddVersionKey "FileDescription" "Parvane, installer"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "LegalCopyright" "The Parvane maintainers; Apache License 2.0"

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define UNINSTALL "Software\Microsoft\Windows\CurrentVersion\Uninstall\Parvane"
!define MUI_FINISHPAGE_RUN "$INSTDIR\parvane.exe"
!define MUI_FINISHPAGE_RUN_PARAMETERS "app"
!insertmacro MUI_PAGE_LICENSE "${FILES}/LICENSE.txt"
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

Section
  SetOutPath "$INSTDIR"
  File "${FILES}/*"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  CreateShortCut "$SMPROGRAMS\Parvane.lnk" "$INSTDIR\parvane.exe" "app" "$INSTDIR\parvane.exe" 0 \
    SW_SHOWMINIMIZED "" "Move e-mail into an Outlook data file (PST)"
  WriteRegStr HKCU "Software\Parvane" "InstallDir" "$INSTDIR"
  WriteRegStr HKCU "${UNINSTALL}" "DisplayName" "Parvane"
  WriteRegStr HKCU "${UNINSTALL}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKCU "${UNINSTALL}" "DisplayIcon" "$INSTDIR\parvane.exe"
  WriteRegStr HKCU "${UNINSTALL}" "Publisher" "The Parvane maintainers"
  WriteRegStr HKCU "${UNINSTALL}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKCU "${UNINSTALL}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKCU "${UNINSTALL}" "NoModify" 1
  WriteRegDWORD HKCU "${UNINSTALL}" "NoRepair" 1
SectionEnd

; Nothing but what the installer has brought: people keep files beside programs.
Section "Uninstall"
  Delete "$INSTDIR\parvane.exe"
  Delete "$INSTDIR\parvanemapi.dll"
  Delete "$INSTDIR\README.txt"
  Delete "$INSTDIR\MANUAL.txt"
  Delete "$INSTDIR\WINDOWS.txt"
  Delete "$INSTDIR\LICENSE.txt"
  Delete "$INSTDIR\NOTICES.txt"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"
  Delete "$SMPROGRAMS\Parvane.lnk"
  DeleteRegKey HKCU "${UNINSTALL}"
  DeleteRegKey HKCU "Software\Parvane"
SectionEnd
