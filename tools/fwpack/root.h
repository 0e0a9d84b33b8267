#ifndef FWVET_TOOLS_FWPACK_ROOT_H
#define FWVET_TOOLS_FWPACK_ROOT_H

#include <cstddef>
#include <filesystem>
#include <string>

namespace fwpack {

/// Whether a certificate can be the root that a device compiles in.
struct RootCheck {
  std::string broken_rule{};   // empty: it can; else what is wrong, to follow "the certificate"
  std::string remedy{};        // what to do about it
  std::size_t pem_length = 0;  // of its PEM with the device's line ends; 0 when an earlier rule is broken
  std::string padded{};        // when it can: its PEM with exactly the length that the device needs
};

/// Judges the one certificate of a PEM text: RSA, a key of at most 4096 bits whose bytes are a multiple of 8,
/// self-signed with SHA-256, SHA-384 or SHA-512, not version 1, PEM of at most 1934 bytes. The padded form
/// has lines of 64 characters that end with CR LF, with spaces in front of the line ends of its base64 body;
/// the encoded certificate stays what it is. Throws Error when the text does not hold exactly one
/// certificate.
RootCheck CheckRootCertificate(const std::string& pem);

/// The same for the certificate in a PEM file that can be the root. Throws Error that names the file: with
/// status kRefused when it breaks a rule.
RootCheck LoadRoot(const std::filesystem::path& file);

/// The padded form of such a certificate. Throws the same.
std::string PaddedRoot(const std::filesystem::path& file);

}  // namespace fwpack

#endif
