#ifndef FWVET_TESTS_FWPACK_CHECK_AGREEMENT_CASES_H
#define FWVET_TESTS_FWPACK_CHECK_AGREEMENT_CASES_H

#include <optional>
#include <string>
#include <vector>

#include "tests/fwpack/check/check_fixture.h"

namespace checktest {

/// A package, the device that it meets, and how it is asked.
struct AgreementCase {
  std::string name{};
  Bytes package{};
  std::optional<Bytes> flash{};  // none: a device that never ran
  bool backup = false;
};
using Cases = std::vector<AgreementCase>;

Cases GenuineCases();     // every form that the device accepts
Cases ChangedCases();     // one changed byte
Cases TruncatedCases();   // cut off at the end
Cases LyingTailCases();   // lengths that are not true
Cases PlainCases();       // files that are no packages
Cases BundleCases();      // CRL bundles of the package
Cases RevocationCases();  // who is revoked, since when, why and by whom
Cases ValidityCases();    // moments inside and outside of validities
Cases DeviceCrlCases();   // what the device has stored, and what it stores
Cases FlashCases();       // flash images, good and damaged, and start-up records
Cases StampCases();       // time-stamps
Cases SignerCases();      // who signs
Cases MessageCases();     // the form of the message

}  // namespace checktest

#endif
