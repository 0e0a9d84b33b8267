// Writes the C++ source of the root certificate that the program under test trusts: the root of TheRoot(),
// brought to the fixed length with line feeds.

#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "app/root_cert.h"
#include "tests/e2e/test_root.h"

namespace {

void WriteArray(std::ostream& out, const char* declaration, const std::string& bytes) {
  out << declaration << " = {";
  for (const char c : bytes) out << static_cast<unsigned>(static_cast<unsigned char>(c)) << ',';
  out << "};\n";
}

void WriteSource(const char* path) {
  std::string text = pki::Pem("CERTIFICATE", TheRoot().der);
  if (text.size() > kRootCertSize) throw std::length_error("the test root does not fit");
  text.resize(kRootCertSize, '\n');
  std::ofstream out(path);
  out << "#include \"app/root_cert.h\"\n";
  WriteArray(out, "const unsigned char g_ucRootCert[kRootCertFirstSize]", text.substr(0, kRootCertFirstSize));
  WriteArray(out, "const unsigned char g_ucRootCertEnd[kRootCertSize - kRootCertFirstSize]",
             text.substr(kRootCertFirstSize));
  if (!out.flush()) throw std::runtime_error("cannot write the source");
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc != 2) throw std::invalid_argument("usage: make_test_root SOURCE");
    WriteSource(argv[1]);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "make_test_root: " << error.what() << '\n';
    return 1;
  }
}
