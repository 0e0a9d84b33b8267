#include <iostream>
#include <string>
#include <vector>

#include "tools/fwpack/cli/app.h"

int main(int argc, char** argv) {
  return fwpack::RunProgram(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc), std::cout,
                            std::cerr);
}
