#include "tests/launcher/expected_environment.h"

#include "tests/support/test.h"

namespace kvl::test {
namespace {

class Setup {
 public:
  Setup(Environment& env, const Prepared& from)
      : env_(env), from_(from), inst_(from.media + "/inst"), install_path_(inst_ + "/" + from.os) {}

  void Run() {
    env_["KVLAdmInstCurrentMediaDir"] = from_.media;
    Replace("ORBInst", inst_);
    Replace("ORBInstaller", from_.external);
    Replace("ORBInstallPath", install_path_);
    ReplaceByList("ORBDictionaryPath", {"code/dictionary"});
    ReplaceByList("ORBReffilesPath", {"reffiles"});
    ReplaceByList("ORBGraphicPath", {"resources/graphic", "resources/graphic/icons",
                                     "resources/graphic/splashscreens"});
    ReplaceByList("ORBMsgCatalogPath", {"resources/msgcatalog"});
    Replace("PATH", install_path_ + "/code/bin:" + Get("PATH"));
    for (const char* name : {"KVLSysIRManagementActivation", "ORBAppBridge"}) env_[name] = "NO";
    for (const char* name : {"KVLAdmInstDebugEnv", "KVLAdmInstDebugSummary",
                             "KVLAdmInstDebugIndexes", "KVLAdmInstDebugAction"}) {
      env_[name] = "f";
    }
    for (const char* name : {"KVLAdmInstDebugError", "KVLAdmInstDebugEverything"}) env_[name] = "1";
    ReplaceByList(Get("KVL_LIBPATH_VARNAME"), {"code/bin"});
    env_["TEMP"] = Get("TMPDIR").empty() ? "/tmp" : Get("TMPDIR");
    env_["ORBTemp"] = "/tmp";
    env_["KVLIns_HasElevatedPrivileges"] = ::getuid() == 0 ? "1" : "0";
    env_["KVLIns_IsInteractiveSession"] = "1";
  }

 private:
  std::string Get(const std::string& name) const {
    const auto found = env_.find(name);
    return found == env_.end() ? "" : found->second;
  }

  void Replace(const std::string& name, const std::string& value) {
    if (name.find('=') != std::string::npos) return;  // the system refuses such a name
    env_["KVL_BAK_" + name] = "KVL_BAK=" + Get(name);
    if (!name.empty()) env_[name] = value;
  }

  void ReplaceByList(const std::string& name, const std::vector<std::string>& entries) {
    std::string list;
    for (const std::string& entry : entries) {
      list += ":" + install_path_ + "/" + entry + ":" + inst_ + "/common/" + entry;
    }
    for (const std::string& entry : entries) {
      if (from_.external.empty()) break;
      list += ":" + from_.external + from_.os + "/" + entry;
      list += ":" + from_.external + "common/" + entry;
    }
    Replace(name, list.substr(1));
  }

  Environment& env_;
  const Prepared& from_;
  std::string inst_;
  std::string install_path_;
};

}  // namespace

Environment AfterSetup(Environment env, const Prepared& from) {
  Setup(env, from).Run();
  return env;
}

Environment InstallerEnvironment(const MediaWorld& world, const Environment& given, Prepared from) {
  for (std::string* text : {&from.media, &from.external, &from.os, &from.original}) {
    *text = world.Text(*text);
  }
  Environment env = given;
  for (const auto& [name, value] : world.Text(from.options)) env[name] = value;
  for (const char* name : {"KVLAdmInstVolumesCount", "KVLAdmInstMTBDIR", "KVLAdmInstFirstAMVolume",
                           "KVLAdmInstFirstAMPath", "KVLAdmInstAMRelativePath"}) {
    env[name] = "";
  }
  for (const auto& [name, value] : world.Text(from.found)) env[name] = value;
  env["KVLAdmInstOriginalMediaDir"] = from.original;
  env = AfterSetup(env, from);
  if (from.software_management) {
    env["KVLSoftwareMgtSingleExec"] = "1";
    env["KVLAdmTUIValue_SoftwareMgt_Resume"] = "!r";
  }
  env["PANELV2ODOTOP"] = "";
  return env;
}

}  // namespace kvl::test
