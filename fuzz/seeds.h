#ifndef FWVET_FUZZ_SEEDS_H
#define FWVET_FUZZ_SEEDS_H

#include <string>
#include <vector>

#include "tests/support/der_builder.h"

/// Well-formed inputs for a parser ("base64", "bundle", "cert", "cms", "crl", "flash", "lint", "signature",
/// "tail", "view"), made anew each time. Throws std::invalid_argument for another name.
std::vector<der::Bytes> SeedsFor(const std::string& parser);

#endif
