#include "tests/app/test_root.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <utility>

#include "app/root_cert.h"

namespace {

std::optional<std::string>& Replacement() {
  static std::optional<std::string> text;
  return text;
}

}  // namespace

const world::World& TheWorld() {
  static const world::World world(pki::SelfSigned(pki::CaSpec("app-root")));
  return world;
}

OtherRoot::OtherRoot(std::string text) {
  Replacement() = std::move(text);
}
OtherRoot::~OtherRoot() {
  Replacement().reset();
}

// In the place of the root that a build compiles in: the text with line feeds up to the fixed length.
void JoinRootCert(unsigned char* out) {
  std::string text = Replacement() ? *Replacement() : pki::Pem("CERTIFICATE", TheWorld().root.der);
  if (text.size() > kRootCertSize) throw std::length_error("the test root does not fit");
  text.resize(kRootCertSize, '\n');
  std::copy(text.begin(), text.end(), out);
}
