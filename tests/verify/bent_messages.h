#ifndef FWVET_TESTS_VERIFY_BENT_MESSAGES_H
#define FWVET_TESTS_VERIFY_BENT_MESSAGES_H

#include <string>
#include <vector>

#include "tests/support/raw_pki.h"
#include "tests/support/test_world.h"
#include "tests/verify/verify_context.h"

// Messages and tokens of one maker of software, piece by piece, so that a test can bend any piece and leave
// all others good.

/// The maker: root, issuing CA, code signers and time stamper. Made once per process.
const world::World& Maker();
/// The time that the maker's tokens tell.
pki::Time StampTime();

/// Makes a context trust the maker and gives it the maker's CRLs.
void Equip(VerifyContext& context, const world::CrlPlan& crls = {});

/// The content that is signed where nothing else is said.
const der::Bytes& Content();

/// The attributes that a signer usually signs: content type and the digest of the content.
std::vector<der::Bytes> UsualAttributes(const der::Bytes& content, const std::string& digest = "SHA256");
der::Bytes DigestAttribute(const der::Bytes& digest);
/// The first signer's info over these attributes, not stamped yet.
pki::RawSignerInfo SignerOver(const std::vector<der::Bytes>& attributes);
/// The first signer's info over the content itself, not stamped yet.
pki::RawSignerInfo PlainSigner(const der::Bytes& content);

/// A token of the maker's time stamper over `stamped`.
der::Bytes TokenOver(const der::Bytes& stamped);
/// A token around this TSTInfo, signed by the maker's time stamper over good attributes.
der::Bytes TokenAround(const der::Bytes& tst_info);
/// A token around this TSTInfo with these signer infos and the time stamper's certificate.
der::Bytes TokenOf(const der::Bytes& tst_info, const std::vector<der::Bytes>& signer_infos);
/// The TSTInfo that usually stamps `stamped`.
der::Bytes UsualTstInfo(const der::Bytes& stamped);

/// A message with this signer; a signer without unsigned attributes is stamped first. It carries the signer's
/// and the issuing CA's certificate.
der::Bytes MessageOf(pki::RawSignerInfo signer);
/// A message with this signer, who bears this token.
der::Bytes MessageWith(pki::RawSignerInfo signer, const der::Bytes& token);
/// A message with these encoded signer infos.
der::Bytes MessageOfAll(const std::vector<der::Bytes>& signer_infos);

#endif
