// The page of a profile as a browser sees it.

#include <gtest/gtest.h>

#include <cstdlib>
#include <set>

#include "tests/qvcheck/run_tool.h"
#include "tests/support/expectations.h"
#include "tests/support/temporary_folder.h"

namespace qv::test {
namespace {

struct Loaded {
  std::string page;     // the document after its scripts have run
  std::string console;  // what the scripts complained about
};

Loaded inBrowser(const TemporaryFolder& folder, const std::string& page) {
  const std::string file = folder.write("page.html", bytesOf(page));
  const std::string command =
      QV_CHROMIUM
      " --headless --no-sandbox --disable-gpu --disable-dev-shm-usage --enable-logging=stderr"
      " --user-data-dir='" +
      folder.path("browser") + "' --dump-dom 'file://" + file + "' >'" + folder.path("dom") +
      "' 2>'" + folder.path("log") + "'";
  EXPECT_EQ(std::system(command.c_str()), 0);
  Loaded loaded{contentOf(folder.path("dom")), ""};
  std::istringstream log(contentOf(folder.path("log")));
  for (std::string line; std::getline(log, line);) {
    if (line.find(":CONSOLE") != std::string::npos) loaded.console += line + "\n";
  }
  return loaded;
}

// What stands between each `start` and the next quote.
std::vector<std::string> attributes(const std::string& page, const std::string& start) {
  std::vector<std::string> values;
  for (std::size_t at = 0; (at = page.find(start, at)) != std::string::npos;) {
    at += start.size();
    values.push_back(page.substr(at, page.find('"', at) - at));
  }
  return values;
}

TEST(ProfilePage, linksResolveAndNothingIsWrong) {
  const TemporaryFolder folder;
  const std::string profiles = QV_SOURCE_DIR "/examples/profiles/";
  // Both define some names, so some anchors are numbered.
  const Outcome outcome =
      runTool({"profile", "doc", profiles + "household.xml", profiles + "lamp.xml"});
  const Loaded loaded = inBrowser(folder, outcome.out);
  EXPECT_EQ(loaded.console, "");
  const std::vector<std::string> ids = attributes(loaded.page, " id=\"");
  const std::set<std::string> known(ids.begin(), ids.end());
  EXPECT_EQ(known.size(), ids.size());
  EXPECT_TRUE(known.contains("enum-pairing-state--2"));
  for (const char* start : {" href=\"#", " data-for=\"", " aria-labelledby=\""}) {
    const std::vector<std::string> targets = attributes(loaded.page, start);
    EXPECT_FALSE(targets.empty()) << start;
    for (const std::string& target : targets) EXPECT_TRUE(known.contains(target)) << target;
  }
}

TEST(ProfilePage, theSearchHidesWhatDoesNotMatch) {
  const TemporaryFolder folder;
  std::string page = runTool({"profile", "doc", QV_SOURCE_DIR "/examples/profiles/lamp.xml"}).out;
  page.insert(page.find("</body>"),
              "<script>query.value = 'Candle'; query.dispatchEvent(new Event('input'));</script>");
  const Loaded loaded = inBrowser(folder, page);
  EXPECT_EQ(loaded.console, "");
  EXPECT_NE(loaded.page.find("<output id=\"found\" for=\"query\">1 of 17</output>"),
            std::string::npos);
  EXPECT_NE(loaded.page.find("<article class=\"card\" id=\"enum-lamp-effect\">"),
            std::string::npos);
  EXPECT_NE(loaded.page.find("id=\"service-lamp\" hidden=\"\">"), std::string::npos);
}

}  // namespace
}  // namespace qv::test
