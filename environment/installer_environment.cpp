#include "environment/installer_environment.h"

#include <initializer_list>

#include "environment/environment.h"
#include "environment/media_names.h"
#include "environment/temporary_directory.h"
#include "environment/variables.h"
#include "insio/path_text.h"

namespace kvl {
namespace {

using KVLInsIO::kPathListSeparator;
using KVLInsIO::kPathSeparator;

constexpr char kBinaries[] = "code/bin";
constexpr char kDictionary[] = "code/dictionary";
constexpr char kReffiles[] = "reffiles";
constexpr char kGraphic[] = "resources/graphic";
constexpr char kIcons[] = "resources/graphic/icons";
constexpr char kSplashScreens[] = "resources/graphic/splashscreens";
constexpr char kMsgCatalog[] = "resources/msgcatalog";

std::string Below(std::string_view directory, std::string_view name) {
  return std::string(directory).append(kPathSeparator).append(name);
}

void BackupAndSet(const std::string& name, const std::string& value) {
  BackupEnv(name);
  SetEnv(name, value);
}

/// The directories in which a path list looks for each entry; each ends in "/".
struct SearchPlaces {
  std::string media_os, media_common;
  std::string external_os, external_common;  // empty without an external installer media

  SearchPlaces(const InstallerSetting& setting, const std::string& inst)
      : media_os(Below(inst, setting.os_name) + "/"),
        media_common(Below(inst, names::kCommon) + "/") {
    if (setting.external_inst_slash.empty()) return;
    external_os = setting.external_inst_slash + setting.os_name + "/";
    external_common = setting.external_inst_slash + names::kCommon + "/";
  }
};

class PathList {
 public:
  void Add(const std::string& place, const std::string& entry) {
    if (place.empty()) return;
    if (!text_.empty()) text_.append(kPathListSeparator);
    text_.append(place).append(entry);
  }
  const std::string& Text() const { return text_; }

 private:
  std::string text_;
};

void SetPathList(const std::string& name, const SearchPlaces& places,
                 std::initializer_list<const char*> entries) {
  PathList list;
  for (const char* entry : entries) {
    list.Add(places.media_os, entry);
    list.Add(places.media_common, entry);
  }
  for (const char* entry : entries) {
    list.Add(places.external_os, entry);
    list.Add(places.external_common, entry);
  }
  BackupAndSet(name, list.Text());
}

void PutFirstInPath(const std::string& directory) {
  BackupEnv(variables::kPath);
  SetEnv(variables::kPath, directory + kPathListSeparator + GetEnv(variables::kPath));
}

void ForceDiagnosticSwitches() {
  SetEnv(variables::kIrManagement, "NO");
  SetEnv(variables::kAppBridge, "NO");
  SetEnv(variables::kDebugEnv, "f");
  SetEnv(variables::kDebugSummary, "f");
  SetEnv(variables::kDebugIndexes, "f");
  SetEnv(variables::kDebugAction, "f");
  SetEnv(variables::kDebugError, "1");
  SetEnv(variables::kDebugEverything, "1");
}

const char* OneOrZero(bool condition) {
  return condition ? "1" : "0";
}

}  // namespace

void SetInstallerEnvironment(const InstallerSetting& setting) {
  const std::string inst = Below(setting.media_dir, names::kInst);
  const std::string install_path = Below(inst, setting.os_name);
  const SearchPlaces places(setting, inst);

  SetEnv(variables::kInstallerMediaDir, setting.media_dir);
  BackupAndSet(variables::kInst, inst);
  BackupAndSet(variables::kInstaller, setting.external_inst_slash);
  BackupAndSet(variables::kInstallPath, install_path);
  SetPathList(variables::kDictionaryPath, places, {kDictionary});
  SetPathList(variables::kReffilesPath, places, {kReffiles});
  SetPathList(variables::kGraphicPath, places, {kGraphic, kIcons, kSplashScreens});
  SetPathList(variables::kMsgCatalogPath, places, {kMsgCatalog});
  PutFirstInPath(Below(install_path, kBinaries));
  ForceDiagnosticSwitches();
  // KVL_LIBPATH_VARNAME may name any variable, even one that is set above or read below.
  SetPathList(GetEnv(variables::kLibraryPathName), places, {kBinaries});
  SetEnv(variables::kTemp, TemporaryDirectory());
  SetEnv(variables::kOrbTemp, kDefaultTemporaryDirectory);
  SetEnv(variables::kElevatedPrivileges, OneOrZero(setting.elevated_privileges));
  SetEnv(variables::kInteractiveSession, OneOrZero(setting.interactive_session));
}

}  // namespace kvl
