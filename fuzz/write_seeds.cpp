// write_seeds DIR: writes the seeds of every parser to DIR/<parser>/, where the fuzzers begin.
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "fuzz/seeds.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: write_seeds DIR\n");
    return 2;
  }
  for (const char* parser : {"base64", "bundle", "cert", "cms", "crl", "signature"}) {
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
