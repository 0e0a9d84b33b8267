// replay PARSER [MUTATIONS]: replays a parser's seeds, cut and mutated in a fixed pseudo-random order,
// through its fuzz target.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

#include "fuzz/seeds.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr std::size_t kMutations = 3000;  // by default; in all, shared by the seeds

// Each input lies in a block of exactly its size, so that a sanitizer sees the first octet read behind it.
void Feed(const der::Bytes& input) {
  const std::unique_ptr<std::uint8_t[]> block(new std::uint8_t[input.size()]);
  std::copy(input.begin(), input.end(), block.get());
  LLVMFuzzerTestOneInput(block.get(), input.size());
}

der::Bytes Mutate(der::Bytes input, std::mt19937* random) {
  const auto below = [random](std::size_t bound) { return bound == 0 ? 0 : (*random)() % bound; };
  for (std::size_t step = 1 + below(4); step != 0 && !input.empty(); --step) {
    const std::size_t at = below(input.size());
    switch (below(5)) {
      case 0:
        input[at] = static_cast<std::uint8_t>((*random)());
        break;
      case 1:
        input[at] = static_cast<std::uint8_t>(input[at] ^ (1u << below(8)));
        break;
      case 2:
        input.resize(at);
        break;
      case 3:
        input.insert(input.begin() + static_cast<std::ptrdiff_t>(at), static_cast<std::uint8_t>((*random)()));
        break;
      default:
        input.erase(input.begin() + static_cast<std::ptrdiff_t>(at));
        break;
    }
  }
  return input;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 && argc != 3) {
    static_cast<void>(std::fprintf(stderr, "usage: replay PARSER [MUTATIONS]\n"));
    return 2;
  }
  const std::size_t mutations = argc == 3 ? std::strtoul(argv[2], nullptr, 10) : kMutations;
  std::mt19937 random(20241);  // NOLINT(cert-msc*): the same mutations on every run
  const std::vector<der::Bytes> seeds = SeedsFor(argv[1]);
  for (const der::Bytes& seed : seeds) {
    Feed(seed);
    for (std::size_t round = 0; round < mutations / seeds.size(); ++round) Feed(Mutate(seed, &random));
  }
  return 0;
}
