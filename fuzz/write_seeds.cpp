// write_seeds DIR PARSER...: writes the seeds of each parser to DIR/<parser>/, where its fuzzer begins.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "fuzz/seeds.h"

int main(int argc, char** argv) {
  if (argc < 3) {
    static_cast<void>(std::fprintf(stderr, "usage: write_seeds DIR PARSER...\n"));
    return 2;
  }
  for (int i = 2; i < argc; ++i) {
    const std::string parser = argv[i];
    const std::filesystem::path folder = std::filesystem::path(argv[1]) / parser;
    std::filesystem::create_directories(folder);
    int number = 0;
    for (const der::Bytes& seed : SeedsFor(parser)) {
      std::ofstream out(folder / std::to_string(number++), std::ios::binary);
      out.write(reinterpret_cast<const char*>(seed.data()), static_cast<std::streamsize>(seed.size()));
    }
  }
  return 0;
}
