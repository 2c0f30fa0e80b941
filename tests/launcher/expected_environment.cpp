#include "tests/launcher/expected_environment.h"

namespace kvl::test {

Environment AfterSetup(Environment env, const Prepared& from) {
  const std::string inst = from.media + "/inst", install_path = inst + "/" + from.os;
  const auto get = [&](const std::string& name) {
    return env.contains(name) ? env.at(name) : std::string();
  };
  const auto replace = [&](const std::string& name, const std::string& value) {
    if (name.find('=') != std::string::npos) return;  // the system refuses such a name
    env["KVL_BAK_" + name] = "KVL_BAK=" + get(name);
    if (!name.empty()) env[name] = value;
  };
  const auto replace_by_list = [&](const std::string& name,
                                   const std::vector<std::string>& entries) {
    std::string list;
    for (const std::string& entry : entries) {
      list += ":" + install_path + "/" + entry + ":" + inst + "/common/" + entry;
    }
    for (const std::string& entry : entries) {
      if (from.external.empty()) break;
      list += ":" + from.external + from.os + "/" + entry;
      list += ":" + from.external + "common/" + entry;
    }
    replace(name, list.substr(1));
  };
  env["KVLAdmInstCurrentMediaDir"] = from.media;
  replace("ORBInst", inst);
  replace("ORBInstaller", from.external);
  replace("ORBInstallPath", install_path);
  replace_by_list("ORBDictionaryPath", {"code/dictionary"});
  replace_by_list("ORBReffilesPath", {"reffiles"});
  replace_by_list("ORBGraphicPath", {"resources/graphic", "resources/graphic/icons",
                                     "resources/graphic/splashscreens"});
  replace_by_list("ORBMsgCatalogPath", {"resources/msgcatalog"});
  replace("PATH", install_path + "/code/bin:" + get("PATH"));
  for (const char* name : {"KVLSysIRManagementActivation", "ORBAppBridge"}) env[name] = "NO";
  for (const char* name : {"Env", "Summary", "Indexes", "Action"}) {
    env[std::string("KVLAdmInstDebug") + name] = "f";
  }
  for (const char* name : {"Error", "Everything"}) env[std::string("KVLAdmInstDebug") + name] = "1";
  replace_by_list(get("KVL_LIBPATH_VARNAME"), {"code/bin"});
  env["TEMP"] = get("TMPDIR").empty() ? "/tmp" : get("TMPDIR");
  env["ORBTemp"] = "/tmp";
  env["KVLIns_HasElevatedPrivileges"] = ::getuid() == 0 ? "1" : "0";
  env["KVLIns_IsInteractiveSession"] = "1";
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
