#ifndef FWVET_TESTS_FWPACK_KEYS_KEYS_FIXTURE_H
#define FWVET_TESTS_FWPACK_KEYS_KEYS_FIXTURE_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/fwpack/fwpack_fixture.h"
#include "tools/fwpack/keys/identity.h"

namespace packtest {

/// The passphrase of every key that the tests encrypt.
constexpr char kPassphrase[] = "correct horse";

/// A scratch directory, and a standard input that is no terminal even when a person runs the tests.
class KeysTest : public testing::Test {
 protected:
  KeysTest();

  /// Runs the openssl program; a test in which it fails has failed.
  static void Make(const std::vector<std::string>& arguments);
  /// The path of a new file with this content.
  [[nodiscard]] std::string File(const std::string& name, const std::string& content) const;
  /// A source that names the passphrase by the file that holds it.
  [[nodiscard]] fwpack::IdentitySource Source(const std::string& key, const std::string& cert,
                                              const std::string& passphrase = kPassphrase) const;
  /// The signer's key, encrypted with kPassphrase as `openssl pkcs8` or `openssl rsa` do it.
  [[nodiscard]] std::string EncryptedKey() const;
  [[nodiscard]] std::string TraditionalKey() const;
  /// The signer's certificate and key as PKCS #12, made with further options.
  [[nodiscard]] std::string Pkcs12(const std::vector<std::string>& options) const;

  ScratchDir dir_{};
};

/// Whether what the identity's key signs is verified by the certificate of that file.
bool SignsAs(const fwpack::Identity& identity, const std::filesystem::path& cert);

/// The text of the error that loading ends with; "no error" when it ends well.
std::string LoadError(const fwpack::IdentitySource& source);

}  // namespace packtest

#endif
