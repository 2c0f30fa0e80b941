// The texts of the launcher, each once: whole lines as they arrive on a stream, for comparisons
// with all messages of a run. A path may be one of MediaWorld's, such as "{1}". A text that only
// one file of tests compares is there.
#pragma once

#include "tests/support/test.h"

namespace kvl::test::says {

inline std::string Error(const std::string& text) {
  return "ERROR: " + text + "\n";
}
inline std::string Warning(const std::string& text) {
  return " WARN: " + text + "\n";
}
inline std::string Info(const std::string& text) {
  return " INFO: " + text + "\n";
}
/// Returns a further line of the previous message.
inline std::string More(const std::string& text) {
  return "       " + text + "\n";
}

// --- the installer -------------------------------------------------------------------------------

inline std::string FoundInCurrentMedia(const std::string& installer) {
  return Info(installer) + Info("Installer found in current media: \"" + installer + "\".");
}
inline std::string NoneInCurrentMedia(const std::string& installer) {
  return Info(installer) + Info("No installer in the current media.");
}
inline std::string PassedOver(const std::string& installer) {
  return Info(installer) +
         Info("Installer found in the current media, \"" + installer +
              "\" but do not use it because of KVL_UseExternalInstaller env var.");
}
inline std::string ArgumentNames(const std::string& media) {
  return Info("Argument \"-installerPath\" found and its value is \"" + media + "\".");
}
inline std::string VariableNames(const std::string& media) {
  return Info("Environment variable KVL_ZOLVEN_Installer is defined and its value is \"" + media +
              "\".");
}
inline std::string NotBelowOne(const std::string& installer) {
  return Info("Installer executable \"" + installer +
              "\" does not exist, trying without sub dir \"1\"");
}
inline std::string NoInstallerMedia(const std::string& installer) {
  return Info("Invalid Installer media, \"" + installer + "\" does not exist");
}
inline std::string InstallerMedia(const std::string& installer) {
  return Info("Installer Media: \"" + installer + "\"");
}
inline std::string BlankInInstallerMedia() {
  return Error("The directory of the installer contains space characters.") +
         More(
             "Please copy the Installer media into a directory that does not contain space "
             "characters") +
         More("and run the installer again.");
}
inline std::string NoInstaller() {
  return Error("The installer is not found, please read the file \"ReadMe_UNIX.txt\".");
}

// --- the volumes ---------------------------------------------------------------------------------

/// `number` is the first line of "volumes.txt" as it stands.
inline std::string ComposedOf(const std::string& number) {
  return Info("This media is composed of " + number + " volumes.");
}
inline std::string Found(const std::string& number, const std::string& directory) {
  return More("Volume " + number + " found in: " + directory);
}
inline std::string FoundAm(const std::string& number, const std::string& directory) {
  return More("AM volume " + number + " found in: " + directory);
}
/// The messages for a media of so many volumes, and for the places of the first, the second and so
/// on; an empty place stands for a missing volume.
inline std::string Volumes(const std::string& number, const std::vector<std::string>& directories) {
  std::string text = ComposedOf(number);
  for (std::size_t i = 0; i < directories.size(); ++i) {
    if (!directories[i].empty()) text += Found(std::to_string(i + 1), directories[i]);
  }
  return text;
}
inline std::string AllFound(const std::string& directory) {
  return More("All volumes found in: " + directory);
}
inline std::string Missing() {
  return Warning("Missing volumes. Please make sure you copied everything correctly.");
}
inline std::string NoFirstMarker(const std::string& directory) {
  return Warning("1.txt not found or not accessible in: " + directory) +
         More("Please make sure you copied the whole volume.");
}
/// The message for a volume whose tag differs from that of its media; `volume` is "Volume 2" or "AM
/// volume 2".
inline std::string Wrong(const std::string& volume, const std::string& tag,
                         const std::string& directory, const std::string& wanted) {
  return Warning(volume + " of " + tag + " found in " + directory + " instead of " + wanted);
}
/// The same for one in the media directory itself.
inline std::string WrongBeside(const std::string& number, const std::string& tag,
                               const std::string& wanted) {
  return Warning("Volume " + number + " of " + tag + " found in the directory of " + wanted);
}
inline std::string CannotOpen(const std::string& file, const std::string& directory) {
  return Warning("Cannot open " + file + " in " + directory) +
         More("Please make sure you copied and/or extracted everything properly.");
}

// --- staging and start ---------------------------------------------------------------------------

inline std::string Staged() {
  return Warning("This media is composed of multiple volumes.") +
         Warning(
             "If it is not done already, please copy each volume on a local hard drive before "
             "starting the installation.") +
         Warning("Not doing so might result in the installation leaving temporary files behind.");
}
/// `staging_slash` ends in "/". The library gives the reason; the line feed at its end causes a
/// line of seven blanks.
inline std::string StagingFailed(const std::string& staging_slash, const std::string& reason) {
  return Error("Cannot copy the installer to a temporary directory: " + staging_slash) +
         Error(reason) + More("");
}
inline std::string CannotWait(const std::string& command) {
  return Error("Cannot wait for process " + command);
}
inline std::string CannotCreate(const std::string& command) {
  return Error("Cannot create process " + command) + CannotWait(command);
}

// --- the command line ----------------------------------------------------------------------------

inline std::string BadArgument(const std::string& option) {
  return Error("Bad " + option + " argument");
}
inline std::string NoAction() {
  return Error(
      "-SoftMgt must be used with another flag (either -List, -Check, -Commit or -Rollback).");
}
inline std::string ActionAlone(const std::string& option) {
  return Error(option + " must be used with the -SoftMgt flag.");
}

}  // namespace kvl::test::says
