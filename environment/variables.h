// The names of all environment variables that the launcher reads or sets. The comment above each name
// is its row in the documents.
#pragma once

namespace kvl::variables {

// Read by the launcher
/// The file name of the installer. The launcher reads it before the options.
inline constexpr char kInstallerExe[] = "KVL_Installer_EXE";
/// The directory of volume 1. The launcher reads it before the options, and again at `--odt`.
inline constexpr char kCurrentMediaDir[] = "CurrentMediaDir";
/// The name of the operating-system directory in the media's `inst`.
inline constexpr char kOs[] = "KVL_OS";
/// If set, the launcher passes over an installer in the current media.
inline constexpr char kUseExternalInstaller[] = "KVL_UseExternalInstaller";
/// An external installer media. The launcher uses it if neither the current media nor `-installerPath`
/// has an installer. Its path must not hold a blank.
inline constexpr char kExternalInstallerMedia[] = "KVL_ZOLVEN_Installer";
/// If set, the launcher ends with the result of the search for volumes as its exit status.
inline constexpr char kQueryVolumeCount[] = "KVLAdmODTMultiVolumes";
/// The directory to stage in; `/tmp` if not set. A relative path starts at the working directory.
inline constexpr char kTmpDir[] = "TMPDIR";
/// If set, the launcher never stages.
inline constexpr char kDontCopyInstaller[] = "KVLAdmInstDontCopyInstaller";
/// If set, the launcher does not look for volumes. The name is spelt like this.
inline constexpr char kOnlineRepository[] = "KVL_Online_Installation_Caf_Repositiory";
/// The name of the library search variable, such as `LD_LIBRARY_PATH`.
inline constexpr char kLibraryPathName[] = "KVL_LIBPATH_VARNAME";

// Set by the search for volumes
/// The first line of `volumes.txt` if it says more than 1. Empty if all volumes lie in one directory.
inline constexpr char kVolumesCount[] = "KVLAdmInstVolumesCount";
/// The tag of the media; in the AM layout the tag of the AM volumes. Empty if there is one volume.
inline constexpr char kMtbDir[] = "KVLAdmInstMTBDIR";
/// The number of the AM volume that holds the media. The search also sets this variable and the next
/// two if no further volume lies beside the media and any file above it looks like an AM marker.
inline constexpr char kFirstAmVolume[] = "KVLAdmInstFirstAMVolume";
/// The directory of that AM volume.
inline constexpr char kFirstAmPath[] = "KVLAdmInstFirstAMPath";
/// The path from there to the directory that holds the volumes.
inline constexpr char kAmRelativePath[] = "KVLAdmInstAMRelativePath";

// Set by the run
/// With a number behind it, from 2 on: the directory of this volume. The launcher sets them only if it
/// found all volumes outside the media directory, and clears no older values.
inline constexpr char kVolumePathPrefix[] = "KVLAdmInstVolumePath_";
/// The media directory before staging; empty if the installer is not staged.
inline constexpr char kOriginalMediaDir[] = "KVLAdmInstOriginalMediaDir";
/// `1`, in software management only.
inline constexpr char kSingleExec[] = "KVLSoftwareMgtSingleExec";
/// `!r`, in software management only.
inline constexpr char kResume[] = "KVLAdmTUIValue_SoftwareMgt_Resume";

// Set for the installer
/// With a name behind it: the text `KVL_BAK=` and what that variable held before. The launcher keeps a
/// backup of `PATH`, `ORBInst`, `ORBInstaller`, `ORBInstallPath` and every path list.
inline constexpr char kBackupPrefix[] = "KVL_BAK_";
/// The media directory; if staged, the staged one.
inline constexpr char kInstallerMediaDir[] = "KVLAdmInstCurrentMediaDir";
/// The directory `inst` in it.
inline constexpr char kInst[] = "ORBInst";
/// The directory `inst/` of the external installer media, with the slash; empty without one.
inline constexpr char kInstaller[] = "ORBInstaller";
/// The directory `inst/<KVL_OS>` of the media.
inline constexpr char kInstallPath[] = "ORBInstallPath";
/// Path list of `code/dictionary`.
inline constexpr char kDictionaryPath[] = "ORBDictionaryPath";
/// Path list of `reffiles`.
inline constexpr char kReffilesPath[] = "ORBReffilesPath";
/// Path list of `resources/graphic`, `resources/graphic/icons` and `resources/graphic/splashscreens`.
inline constexpr char kGraphicPath[] = "ORBGraphicPath";
/// Path list of `resources/msgcatalog`.
inline constexpr char kMsgCatalogPath[] = "ORBMsgCatalogPath";
/// The directory `inst/<KVL_OS>/code/bin` of the media, a colon, and what it was.
inline constexpr char kPath[] = "PATH";
/// `NO`.
inline constexpr char kIrManagement[] = "KVLSysIRManagementActivation";
/// `NO`.
inline constexpr char kAppBridge[] = "ORBAppBridge";
/// `f`.
inline constexpr char kDebugEnv[] = "KVLAdmInstDebugEnv";
/// `f`.
inline constexpr char kDebugSummary[] = "KVLAdmInstDebugSummary";
/// `f`.
inline constexpr char kDebugIndexes[] = "KVLAdmInstDebugIndexes";
/// `f`.
inline constexpr char kDebugAction[] = "KVLAdmInstDebugAction";
/// `1`.
inline constexpr char kDebugError[] = "KVLAdmInstDebugError";
/// `1`.
inline constexpr char kDebugEverything[] = "KVLAdmInstDebugEverything";
/// The value of `TMPDIR`, or `/tmp`.
inline constexpr char kTemp[] = "TEMP";
/// `/tmp`, always.
inline constexpr char kOrbTemp[] = "ORBTemp";
/// `1` if the real user is the superuser, else `0`.
inline constexpr char kElevatedPrivileges[] = "KVLIns_HasElevatedPrivileges";
/// `1`.
inline constexpr char kInteractiveSession[] = "KVLIns_IsInteractiveSession";
/// Empty.
inline constexpr char kPanel[] = "PANELV2ODOTOP";

// Two of these groups, to go through.
inline constexpr const char* kRead[] = {
    kInstallerExe,           kCurrentMediaDir,  kOs,     kUseExternalInstaller,
    kExternalInstallerMedia, kQueryVolumeCount, kTmpDir, kDontCopyInstaller,
    kOnlineRepository,       kLibraryPathName};
inline constexpr const char* kOfMediaScan[] = {kVolumesCount, kMtbDir, kFirstAmVolume, kFirstAmPath,
                                               kAmRelativePath};

}  // namespace kvl::variables
