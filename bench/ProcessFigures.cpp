#include "bench/ProcessFigures.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace bench {

bool quick() {
  return std::getenv("ORVANE_BENCH_QUICK") != nullptr;
}

std::string programDirectory() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

std::string buildTop() {
  return std::filesystem::path(programDirectory()).parent_path();
}

std::map<std::string, double> runFigures(const std::vector<std::string>& command) {
  std::string line;
  for (const std::string& word : command) {
    line += "'" + word + "' ";
  }
  FILE* output = popen(line.c_str(), "re");
  if (output == nullptr) {
    throw std::runtime_error("cannot run " + line);
  }
  std::map<std::string, double> figures;
  char name[64];
  double value;
  while (fscanf(output, "%63s %lf", name, &value) == 2) {
    figures[name] = value;
  }
  if (pclose(output) != 0 || figures.empty()) {
    throw std::runtime_error("failed: " + line);
  }
  return figures;
}

void printFigure(const char* name, double value) {
  printf("%s %.17g\n", name, value);
  fflush(stdout);
}

uint64_t ownStatus(const char* name) {
  std::ifstream status("/proc/self/status");
  for (std::string key; status >> key;) {
    uint64_t value = 0;
    std::string unit;
    if (key == std::string(name) + ":" && status >> value) {
      std::getline(status, unit);
      return unit.find("kB") != std::string::npos ? value * 1024 : value;
    }
    std::getline(status, unit);
  }
  throw std::runtime_error(std::string("no ") + name + " in /proc/self/status");
}

}  // namespace bench
