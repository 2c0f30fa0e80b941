#include "companion/make/description_text.h"

#include <cstdint>

#include "companion/make/media_plan.h"
#include "companion/names/path_below.h"
#include "console/text.h"
#include "environment/media_names.h"
#include "media/marker.h"

namespace kvl {
namespace {

std::string XmlText(std::string text) {
  ReplaceAll(text, "&", "&amp;", 0);
  ReplaceAll(text, "<", "&lt;", 0);
  ReplaceAll(text, ">", "&gt;", 0);
  ReplaceAll(text, "\"", "&quot;", 0);
  return text;
}

constexpr char kXml[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

}  // namespace

std::string MediaXmlText(const std::string& tag, const std::vector<PlannedSystem>& systems,
                         std::size_t volumes) {
  std::string names;
  for (const PlannedSystem& system : systems) names += (names.empty() ? "" : " ") + system.name;
  return kXml + ("<media tag=\"" + XmlText(tag)) + "\" system=\"" + names + "\" volumes=\"" +
         std::to_string(volumes) + "\"/>\n";
}

std::string TableOfContentsText(std::size_t volumes) {
  std::string text = kXml + std::string("<contents>\n");
  for (std::size_t i = 1; i <= volumes; ++i) {
    const std::string number = std::to_string(i);
    text.append("  <volume number=\"").append(number).append("\" marker=\"");
    text.append(MarkerName(static_cast<std::int64_t>(i))).append("\" payload=\"");
    text.append(PathBelow(names::kPayload, number)).append("\"/>\n");
  }
  return text + "</contents>\n";
}

std::string ReadMeText(const std::string& tag, const std::vector<PlannedSystem>& systems,
                       std::size_t volumes) {
  std::string installers;
  for (const PlannedSystem& system : systems) {
    installers += "    " + PathBelow(names::kInst, system.PathOfInstaller()) + "\n";
  }
  return "This is volume 1 of the installation media " + tag +
         ", volumes: " + std::to_string(volumes) +
         ".\n"
         "\n"
         "To install, change to a directory that is not on the media, and run the start script\n"
         "beside this file by its path:\n"
         "\n"
         "    /path/to/this/directory/" +
         names::kStartTui +
         "\n"
         "\n"
         "If the script does not find the installer, this volume is not whole. Copy or insert\n"
         "volume 1 again. The installer is\n"
         "\n" +
         installers +
         "\n"
         "To see which files of this volume are missing or damaged, run \"sha256sum -c 1.sha256\"\n"
         "in the directory of the file 1.sha256.\n";
}

}  // namespace kvl
