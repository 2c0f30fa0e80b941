#include "tests/companion/check_world.h"

#include "tests/support/test.h"

namespace kvl::test {

const char kTwoVolumes[] =
    "Media      {1}\n"
    "System     linux\n"
    "Installer  {1}/inst/linux/code/bin/installer, in the media\n"
    "Volumes    2, layout sibling, tag SET-A\n"
    "           1  found       {1}\n"
    "           2  found       {2}\n"
    "Start      in place\n";

const char kVolumeMissing[] =
    "Media      {1}\n"
    "System     linux\n"
    "Installer  {1}/inst/linux/code/bin/installer, in the media\n"
    "Volumes    2, layout unknown, tag SET-A\n"
    "           1  found       {1}\n"
    "           2  missing     {2}\n"
    "Start      staged in {tmp}/<identifier>: 9 files, <n> bytes, free <n>\n"
    "warning    {2}/2.txt: volume 2 is missing: it has no marker; copy the whole volume there\n";

VolumeBuilder CheckWorld::FirstVolume(const std::string& name) {
  VolumeBuilder volume = Volume(name);
  volume.Installer().Descriptions();
  for (const char* script : {"/StartTUI.sh", "/StartGUI.sh"}) SetMode(Path(name + script), 0755);
  return volume;
}

CheckWorld& CheckWorld::TwoVolumes() {
  VolumeMissing();
  Volume("2").Marker(2, "SET-A");
  return *this;
}

CheckWorld& CheckWorld::VolumeMissing() {
  FirstVolume("1").Announces("2").Marker(1, "SET-A");
  return *this;
}

Outcome CheckWorld::Companion(const std::vector<std::string>& arguments, const Environment& env,
                              const std::function<void()>& before) const {
  std::vector<std::string> command = {BuiltProgram("kvl-media")};
  for (const std::string& argument : arguments) command.push_back(Text(argument));
  return RunProgram({command, Text(env), Path("."), {}, before});
}

Outcome CheckWorld::Check(const std::vector<std::string>& further, const Environment& env,
                          const std::function<void()>& before) const {
  std::vector<std::string> arguments = {"check", "{1}",         "--os",
                                        "linux", "--installer", "installer"};
  arguments.insert(arguments.end(), further.begin(), further.end());
  Environment all = {{"TMPDIR", "{tmp}"}, {"PATH", "/usr/bin:/bin"}};
  for (const auto& [name, value] : env) all[name] = value;
  return Companion(arguments, all, before);
}

std::string WithoutBytes(const std::string& text) {
  static const std::regex forecast(", [0-9]+ bytes?, free [0-9]+");
  static const std::regex want("staging needs [0-9]+ bytes, and [0-9]+ are free");
  return std::regex_replace(std::regex_replace(text, forecast, ", <n> bytes, free <n>"), want,
                            "staging needs <n> bytes, and <n> are free");
}

std::string WithoutFreeBytes(const std::string& json) {
  static const std::regex free("\"free_bytes\": [1-9][0-9]*");
  return std::regex_replace(json, free, "\"free_bytes\": 0");
}

}  // namespace kvl::test
