#include "platform/zones.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

namespace morvex {

// The zones of the system without copies, including those with leap seconds, and some written as rules.
std::vector<std::string> zonesToTry() {
  std::vector<std::string> names{"CET-1CEST,M3.5.0,M10.5.0/3",
                                 "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0",
                                 "IST-1GMT0,M10.5.0,M3.5.0/1",
                                 "AAA11:30:07BBB-12:29:53,J60/2:45:15,J300/0:00:01",
                                 "XXX-24:59:59",
                                 "EST5EDT,0/0,J365/25"};
  const std::string root = "/usr/share/zoneinfo/";
  std::set<std::string> contents;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    const std::string name = entry.path().string().substr(root.size());
    if (entry.is_regular_file() && !name.starts_with("posix/")) {
      std::ifstream file(entry.path());
      const std::string content(std::istreambuf_iterator<char>(file), {});
      if (content.starts_with("TZif") && contents.insert(content).second) {
        names.push_back(name);
      }
    }
  }
  return names;
}

}  // namespace morvex
