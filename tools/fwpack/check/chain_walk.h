#ifndef FWVET_TOOLS_FWPACK_CHECK_CHAIN_WALK_H
#define FWVET_TOOLS_FWPACK_CHECK_CHAIN_WALK_H

#include <string>

#include "verify/asn1/lumo_x509_templ.h"
#include "verify/lumo_vrf.h"

namespace fwpack {

/// Which certificate makes a judgement fail, and how.
struct ChainFault {
  std::string where{};
  std::string detail{};
};

/// Looks for the reason why the device judged `leaf` with `code` for this purpose (LUMO_EXKU_*): from the
/// root downwards, the first certificate for which the device's own judgement gives that code, the issuers of
/// CRLs included. To be called with the context as that judgement left it.
ChainFault FindChainFault(LUMO_VRF* vrf, LUMO_X509_CERT* leaf, LUMO_ASN_INT purpose, LUMO_ERROR_CODE code);

}  // namespace fwpack

#endif
