// The memory of a browser's process: what the module adds, what an element and a session add, and
// what elements leave that come and go. The process has GTK 2 before, as browsers of its time do.
// Argument: how many elements come and go.

#include <dlfcn.h>
#include <malloc.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/BenchHome.h"
#include "bench/ProcessFigures.h"
#include "bench/ServerProcess.h"
#include "bench/SmallBrowser.h"

namespace {

using bench::printFigure;
using bench::SmallBrowser;

constexpr char kIdleAnswer[] = "{\"iteration_token\":\"1\",\"transfers\":[]}";
constexpr size_t kElements = 16;
constexpr unsigned long kSettled = 100;  // cycles after which all caches are filled

// A line of the totals over all mappings, in bytes. Exact, unlike the counts in the status file.
double pages(const char* kind) {
  std::ifstream rollup("/proc/self/smaps_rollup");
  for (std::string key; rollup >> key;) {
    if (key == kind) {
      double kibibytes = 0;
      rollup >> kibibytes;
      return kibibytes * 1024;
    }
  }
  throw std::runtime_error(std::string("no ") + kind + " in /proc/self/smaps_rollup");
}

double resident() {
  return pages("Rss:");
}

double heapInUse() {
  const struct mallinfo2 heap = mallinfo2();
  return static_cast<double>(heap.uordblks + heap.hblkhd);
}

// Prints what `count` elements cost each.
std::vector<NPP> openElements(SmallBrowser& browser, size_t count, const char* figure) {
  const double before = resident();
  std::vector<NPP> elements;
  for (size_t i = 0; i < count; ++i) {
    elements.push_back(browser.open());
  }
  printFigure(figure, (resident() - before) / static_cast<double>(count));
  return elements;
}

// Prints what a session costs each of the elements, their first event included.
void startSessions(SmallBrowser& browser, const std::vector<NPP>& elements) {
  const double before = resident();
  for (const NPP element : elements) {
    NPObject* object = browser.scriptObject(element);
    SmallBrowser::setProperty(object, "eventHandler", browser.function());
    SmallBrowser::call(object, "initSession", {"bench", "example.org"});
  }
  browser.runUntilCalled(elements.size());
  printFigure("session", (resident() - before) / static_cast<double>(elements.size()));
}

void cycle(SmallBrowser& browser, unsigned long count) {
  for (unsigned long i = 0; i < count; ++i) {
    browser.close(browser.open());
  }
}

// Per element that came and went: the heap's growth, and the part of it that is kept on purpose.
void measureCycles(SmallBrowser& browser, unsigned long count) {
  cycle(browser, kSettled);
  const double heap = heapInUse();
  const double before = resident();
  const size_t kept = browser.liveBytes() + browser.objectBytes();
  cycle(browser, count);
  const auto times = static_cast<double>(count);
  printFigure("growth", (heapInUse() - heap) / times);
  printFigure("kept",
              static_cast<double>(browser.liveBytes() + browser.objectBytes() - kept) / times);
  printFigure("resident_growth", (resident() - before) / times);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || dlopen("libgtk-x11-2.0.so.0", RTLD_NOW | RTLD_GLOBAL) == nullptr) {
    return 2;
  }
  const bench::ServerProcess application(
      [] { return std::make_unique<bench::BenchServer>(kIdleAnswer); });
  bench::BenchHome::get().publish(application.port());
  const double before = resident();
  const double ownBefore = pages("Anonymous:");
  SmallBrowser browser;
  printFigure("browser", before);
  printFigure("module", resident() - before);
  printFigure("module_own", pages("Anonymous:") - ownBefore);
  openElements(browser, 1, "first");
  for (const NPP element : openElements(browser, kElements, "element")) {
    browser.close(element);
  }
  measureCycles(browser, std::strtoul(argv[1], nullptr, 10));
  const std::vector<NPP> elements = {browser.open(), browser.open()};
  startSessions(browser, elements);
  for (const NPP element : elements) {
    browser.close(element);
  }
  return 0;
}
