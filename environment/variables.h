// The names of all environment variables that the launcher reads or writes, and which of them belong
// together.
#pragma once

namespace kvl::variables {

// Read.
inline constexpr char kInstallerExe[] = "KVL_Installer_EXE";
inline constexpr char kCurrentMediaDir[] = "CurrentMediaDir";
inline constexpr char kOs[] = "KVL_OS";
inline constexpr char kUseExternalInstaller[] = "KVL_UseExternalInstaller";
inline constexpr char kExternalInstallerMedia[] = "KVL_ZOLVEN_Installer";
inline constexpr char kQueryVolumeCount[] = "KVLAdmODTMultiVolumes";
inline constexpr char kTmpDir[] = "TMPDIR";
inline constexpr char kDontCopyInstaller[] = "KVLAdmInstDontCopyInstaller";
/// Misspelt on purpose: this is the name that is set out there.
inline constexpr char kOnlineRepository[] = "KVL_Online_Installation_Caf_Repositiory";
inline constexpr char kLibraryPathName[] = "KVL_LIBPATH_VARNAME";

// Written by the media scan.
inline constexpr char kVolumesCount[] = "KVLAdmInstVolumesCount";
inline constexpr char kMtbDir[] = "KVLAdmInstMTBDIR";
inline constexpr char kFirstAmVolume[] = "KVLAdmInstFirstAMVolume";
inline constexpr char kFirstAmPath[] = "KVLAdmInstFirstAMPath";
inline constexpr char kAmRelativePath[] = "KVLAdmInstAMRelativePath";

// Written by the run sequence.
inline constexpr char kVolumePathPrefix[] = "KVLAdmInstVolumePath_";
inline constexpr char kOriginalMediaDir[] = "KVLAdmInstOriginalMediaDir";
inline constexpr char kSingleExec[] = "KVLSoftwareMgtSingleExec";
inline constexpr char kResume[] = "KVLAdmTUIValue_SoftwareMgt_Resume";

// Written by the environment setup.
inline constexpr char kBackupPrefix[] = "KVL_BAK_";
inline constexpr char kInstallerMediaDir[] = "KVLAdmInstCurrentMediaDir";
inline constexpr char kInst[] = "ORBInst";
inline constexpr char kInstaller[] = "ORBInstaller";
inline constexpr char kInstallPath[] = "ORBInstallPath";
inline constexpr char kDictionaryPath[] = "ORBDictionaryPath";
inline constexpr char kReffilesPath[] = "ORBReffilesPath";
inline constexpr char kGraphicPath[] = "ORBGraphicPath";
inline constexpr char kMsgCatalogPath[] = "ORBMsgCatalogPath";
inline constexpr char kPath[] = "PATH";
inline constexpr char kIrManagement[] = "KVLSysIRManagementActivation";
inline constexpr char kAppBridge[] = "ORBAppBridge";
inline constexpr char kDebugEnv[] = "KVLAdmInstDebugEnv";
inline constexpr char kDebugSummary[] = "KVLAdmInstDebugSummary";
inline constexpr char kDebugIndexes[] = "KVLAdmInstDebugIndexes";
inline constexpr char kDebugAction[] = "KVLAdmInstDebugAction";
inline constexpr char kDebugError[] = "KVLAdmInstDebugError";
inline constexpr char kDebugEverything[] = "KVLAdmInstDebugEverything";
inline constexpr char kTemp[] = "TEMP";
inline constexpr char kOrbTemp[] = "ORBTemp";
inline constexpr char kElevatedPrivileges[] = "KVLIns_HasElevatedPrivileges";
inline constexpr char kInteractiveSession[] = "KVLIns_IsInteractiveSession";

// Written by the process start.
inline constexpr char kPanel[] = "PANELV2ODOTOP";

// The same, to go through.
inline constexpr const char* kRead[] = {
    kInstallerExe,           kCurrentMediaDir,  kOs,     kUseExternalInstaller,
    kExternalInstallerMedia, kQueryVolumeCount, kTmpDir, kDontCopyInstaller,
    kOnlineRepository,       kLibraryPathName};
inline constexpr const char* kOfMediaScan[] = {kVolumesCount, kMtbDir, kFirstAmVolume, kFirstAmPath,
                                               kAmRelativePath};
inline constexpr const char* kOfRunSequence[] = {kVolumePathPrefix, kOriginalMediaDir, kSingleExec,
                                                 kResume};
inline constexpr const char* kOfEnvironmentSetup[] = {kBackupPrefix,
                                                      kInstallerMediaDir,
                                                      kInst,
                                                      kInstaller,
                                                      kInstallPath,
                                                      kDictionaryPath,
                                                      kReffilesPath,
                                                      kGraphicPath,
                                                      kMsgCatalogPath,
                                                      kPath,
                                                      kIrManagement,
                                                      kAppBridge,
                                                      kDebugEnv,
                                                      kDebugSummary,
                                                      kDebugIndexes,
                                                      kDebugAction,
                                                      kDebugError,
                                                      kDebugEverything,
                                                      kTemp,
                                                      kOrbTemp,
                                                      kElevatedPrivileges,
                                                      kInteractiveSession};
inline constexpr const char* kOfProcessStart[] = {kPanel};

}  // namespace kvl::variables
