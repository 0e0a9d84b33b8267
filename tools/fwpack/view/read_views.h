#ifndef FWVET_TOOLS_FWPACK_VIEW_READ_VIEWS_H
#define FWVET_TOOLS_FWPACK_VIEW_READ_VIEWS_H

#include <filesystem>
#include <string>
#include <string_view>

#include "tools/fwpack/view/views.h"

// From bytes to views. None of these throws for what the bytes are; `offset` is where they begin in the file
// that was looked at. Memory stays within a small multiple of the bytes, and the content of a package is
// never read.
namespace fwpack {

/// A package, blocks and all that is in them. Throws Error when the file cannot be read.
PackageView ViewPackage(const std::filesystem::path& file);

/// A CRL bundle: PEM, or DER objects in a row.
BundleView ViewBundle(std::string_view bytes, std::uint64_t offset = 0);

/// A CMS SignedData, PEM or DER.
MessageView ViewMessage(std::string_view bytes, std::uint64_t offset = 0);

/// The time-stamp token in the first signer of a signature; none when there is no such attribute.
std::optional<TokenView> ViewToken(const MessageView& signature);

/// One certificate, DER.
CertView ViewCert(std::string_view der, std::uint64_t offset = 0);

/// One CRL, DER.
CrlView ViewCrl(std::string_view der, std::uint64_t offset = 0);

}  // namespace fwpack

#endif
