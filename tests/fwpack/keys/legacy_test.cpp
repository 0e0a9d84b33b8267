#include <gmock/gmock.h>

#include <cstdlib>

#include "tests/fwpack/keys/keys_fixture.h"

using packtest::kPassphrase;
using packtest::LoadError;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class LegacyCiphers : public packtest::KeysTest {};

}  // namespace

// In a program of its own: a provider that was loaded once would be found again.
TEST_F(LegacyCiphers, WithoutTheirProviderAreRefusedWithARemedy) {
  const std::string file = Pkcs12({"-legacy", "-passout", std::string("pass:") + kPassphrase});
  ASSERT_EQ(setenv("OPENSSL_MODULES", dir_.path().c_str(), 1), 0);
  EXPECT_THAT(LoadError(Source(file, "")), AllOf(HasSubstr("signer.p12"), HasSubstr("legacy provider"),
                                                 HasSubstr("openssl pkcs12 -export")));
}
