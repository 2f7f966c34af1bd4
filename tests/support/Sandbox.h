#ifndef TESTS_SUPPORT_SANDBOX_H_
#define TESTS_SUPPORT_SANDBOX_H_

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace test_support {

// A private home directory for one test, with the per-user tree that the installed application
// would have made; HOME names it. Removed when the test ends.
class Sandbox : public testing::Test {
 protected:
  Sandbox();
  ~Sandbox() override;

  const std::string& home() const { return _home; }
  // Below the home directory, without a leading slash.
  std::string path(const std::string& relative) const { return _home + "/" + relative; }
  // Below the application's data directory, ".orvane/pellion".
  std::string dataPath(const std::string& relative) const {
    return path(".orvane/pellion/" + relative);
  }

  // What the application publishes: its address file, and the path file that names its directory.
  void writeUrlFile(const std::string& url) const;
  void writeUrlFile(int port) const;
  void writePathFile(const std::string& directory) const;

  // An executable script in a directory of its own, as "orvanepellion"; the path file names it.
  void installApplication(const std::string& script) const;

  // Ends the application whose process id is published, if any, and waits until it has gone.
  void endApplication() const;

  // The log's text so far (all ring members in order), and the lines of it that hold `text`.
  std::string logText() const;
  std::vector<std::string> logLines(const std::string& text) const;
  // Whether these texts stand in the log in this order.
  testing::AssertionResult logged(const std::vector<std::string>& texts) const;

 private:
  std::string _home;
};

// For SetUp(): skips tests that must not find, and start, an application of the machine's own.
void skipWhereAnApplicationIsInstalled();

void writeFile(const std::string& path, const std::string& content);
std::string readFile(const std::string& path);
// A file of that many bytes, none like its neighbours.
void makeFile(const std::string& path, size_t size);
size_t countEntries(const std::string& directory);
// Open descriptors and threads of this process, for "back where it was" checks. A thread that is
// on its way out does not count: the system lists it for a moment after it was joined.
size_t countDescriptors();
size_t countThreads();

}  // namespace test_support

#endif  // TESTS_SUPPORT_SANDBOX_H_
