#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/support/Sandbox.h"
#include "tests/web_host/HostProcess.h"
#include "tools/web_host/Origin.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class SiteCommands : public Sandbox {
 protected:
  SiteCommands() { setUpHost(home()); }

  // What the program prints, and its exit code at the end.
  static std::string run(const std::string& arguments) {
    FILE* const output =
        popen((WEB_HOST_PROGRAM " " + arguments + " 2>&1 </dev/null").c_str(), "re");
    std::string text;
    char buffer[4096];
    for (size_t count; (count = fread(buffer, 1, sizeof(buffer), output)) > 0;) {
      text.append(buffer, count);
    }
    return text + "=" + std::to_string(WEXITSTATUS(pclose(output)));
  }
  std::string sitesFile() const { return path(".config/orvane-web/sites"); }
};

TEST_F(SiteCommands, changeTheUsersFileAndLoseNothingElse) {
  const struct {
    const char *arguments, *before, *printed, *after;
  } kRows[] = {
      {"--allow https://a.example", nullptr, "=0", "allow https://a.example\n"},
      {"--allow HTTP://A.example:80/", "# mine\n\nrubbish\n", "=0",
       "# mine\n\nrubbish\nallow http://a.example\n"},
      {"--deny https://a", "allow https://a\nallow https://b\n deny HTTPS://a:443 \n", "=0",
       "allow https://b\ndeny https://a\n"},
      {"--forget file:///", "allow file://\ndeny https://a", "=0", "deny https://a\n"},
      {"--allow https://a.example/x", "deny https://a", "is more than an origin", "deny https://a"},
      {"--allow null", nullptr, "are never allowed", nullptr},
      {"--deny", nullptr, "takes one ORIGIN (see --help)\n=2", nullptr},
      {"--sites", "allow https://a\nallow\ndeny https://a\nperhaps https://b\n",
       "line 2: \"\" is no origin", nullptr},
      {"--sites", "allow https://a\ndeny https://b\nallow https://b",
       "allow https://a\nallow https://b\n=0", nullptr},
      {"--sites more", nullptr, "takes nothing more (see --help)\n=2", nullptr},
      {"--bogus", nullptr, "there is no option --bogus (see --help)\n=2", nullptr},
      {"--help", nullptr, "Usage: orvane-web-host", nullptr},
      {"--version", nullptr, "orvane-web-host " ORVANE_VERSION "\n=0", nullptr},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.arguments);
    fs::remove_all(path(".config"));
    if (row.before != nullptr) {
      fs::create_directories(path(".config/orvane-web"));
      writeFile(sitesFile(), row.before);
    }
    EXPECT_THAT(run(row.arguments), HasSubstr(row.printed));
    if (row.after != nullptr) {
      EXPECT_EQ(readFile(sitesFile()), row.after);
    }
    struct stat status = {};
    if (stat(sitesFile().c_str(), &status) == 0 && row.before == nullptr) {
      EXPECT_EQ(status.st_mode & 0777, 0600u);
    }
  }
}

TEST_F(SiteCommands, theAdministratorGoesFirst) {
  fs::create_directories(path("etc/orvane-web"));
  writeFile(path("etc/orvane-web/sites"), "deny https://a\n");
  EXPECT_THAT(run("--allow https://a"), HasSubstr("etc/orvane-web/sites goes before: deny\n=0"));
  EXPECT_EQ(run("--sites"),
            "deny https://a  # " + path("etc/orvane-web/sites") + "\nallow https://a\n=0");
  HostProcess host(path("stderr"));
  host.greet("https://a", "https://a/");
  host.send(makeElement());
  EXPECT_EQ(host.receive(), R"({"tell":"leave","origin":"https://a","leave":"deny"})");
  EXPECT_EQ(host.receive(),
            R"({"answer":1,"error":"This site is not allowed to use Orvane Web, says the )"
            R"(administrator of this computer."})");
}

TEST_F(SiteCommands, whatTheAdministratorDeniesIsNotLostWithItsFile) {
  fs::create_directories(path("etc/orvane-web"));
  writeFile(path("etc/orvane-web/sites"), "allow https://a\n");
  fs::create_directories(path("more/orvane-web/sites"));
  setenv("XDG_CONFIG_DIRS", (path("etc") + ":" + path("more") + ":" + path("none")).c_str(), 1);
  EXPECT_THAT(run("--allow https://b"),
              HasSubstr("more/orvane-web/sites, which cannot be read, goes before: deny\n=0"));
  for (const std::string origin : {"https://a", "https://b"}) {
    HostProcess host(path("stderr"));
    host.greet(origin, origin + "/");
    host.send(makeElement());
    EXPECT_THAT(host.receive(), HasSubstr("more/orvane-web/sites is no regular file"));
    const bool named = origin == "https://a";
    EXPECT_THAT(host.receive(), HasSubstr(named ? R"("leave":"allow")" : R"("leave":"deny")"));
    EXPECT_THAT(host.receive(),
                HasSubstr(named ? R"({"answer":1})" : "administrator's list of sites cannot be"));
  }
}

TEST_F(SiteCommands, keepAFileThatCannotBeReadOrReplaced) {
  fs::create_directories(sitesFile());
  EXPECT_THAT(run("--allow https://a"), HasSubstr("is no regular file\n=1"));
  EXPECT_THAT(run("--sites"), HasSubstr("is no regular file\n=0"));
  fs::remove(sitesFile());
  writeFile(path("real"), "deny https://b\n");
  fs::create_symlink(path("real"), sitesFile());
  EXPECT_EQ(run("--allow https://a"), "=0");
  EXPECT_EQ(readFile(path("real")), "deny https://b\nallow https://a\n");
  fs::remove_all(path(".config"));
  writeFile(path(".config"), "");
  EXPECT_THAT(run("--allow https://a"), HasSubstr("cannot be made: Not a directory\n=1"));
}

TEST(Origins, haveOneForm) {
  const struct {
    std::string text;
    const char* normal;  // null: refused
  } kRows[] = {
      {"https://A.Example", "https://a.example"},
      {"https://a.example:443", "https://a.example"},
      {"http://a.example:443", "http://a.example:443"},
      {"http://a:080/", "http://a"},
      {"https://[::1]:8443", "https://[::1]:8443"},
      {"https://b\u00fccher.example", "https://xn--bcher-kva.example"},
      {"file://", "file://"},
      {"null", nullptr},
      {"NULL", nullptr},
      {"", nullptr},
      {"a.example", nullptr},
      {"ftp://a", nullptr},
      {"https://", nullptr},
      {"https:///", nullptr},
      {"https://a b", nullptr},
      {"https://a\nallow", nullptr},
      {std::string("https://a\0b", 11), nullptr},
      {"https://u@a", nullptr},
      {"https://a?x", nullptr},
      {"https://a\\b", nullptr},
      {"https://a:", nullptr},
      {"https://a:65536", nullptr},
      {"https://a:1:2", nullptr},
      {"https://[::1", nullptr},
      {"https://[x]", nullptr},
      {"https://a\xff", nullptr},
      {"file:///home", nullptr},
      {"https://" + std::string(254, 'a'), nullptr},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.text);
    try {
      const std::string normal = web_host::normalOrigin(row.text);
      ASSERT_NE(row.normal, nullptr) << normal;
      EXPECT_EQ(normal, row.normal);
      EXPECT_EQ(web_host::normalOrigin(normal), normal);
    } catch (const web_host::OriginError& error) {
      EXPECT_EQ(row.normal, nullptr) << error.what();
    }
  }
}

}  // namespace
}  // namespace test_support
