#ifndef FWVET_TOOLS_FWPACK_TSA_TOKEN_CHECK_H
#define FWVET_TOOLS_FWPACK_TSA_TOKEN_CHECK_H

#include <string>
#include <vector>

#include "tools/fwpack/openssl_ptr.h"

namespace fwpack {

/// What a time-stamp has to be.
struct WantedStamp {
  std::string origin{};                 // where it comes from: every error begins with it
  std::string stamped{};                // what it must cover
  const EVP_MD* digest = nullptr;       // with which; null: any that the device knows
  const ASN1_INTEGER* nonce = nullptr;  // that it must carry; null: any or none
  std::vector<X509*> known{};           // where the signer's certificate may be besides the token
  bool may_be_bare = false;             // whether a token without its reply will do
};

/// The token (DER) of an RFC 3161 reply, checked: status, imprint, nonce, no more certificates than the
/// device decodes, one signer, its signature and the purpose of its certificate. Whether the device trusts
/// that certificate is not looked at. Throws Error that says what is wrong.
std::string CheckedToken(const std::string& reply, const WantedStamp& wanted);

}  // namespace fwpack

#endif
