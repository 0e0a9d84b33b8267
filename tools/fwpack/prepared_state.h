#ifndef FWVET_TOOLS_FWPACK_PREPARED_STATE_H
#define FWVET_TOOLS_FWPACK_PREPARED_STATE_H

#include <filesystem>
#include <string>
#include <vector>

#include "tools/fwpack/cms.h"
#include "tools/fwpack/content.h"
#include "tools/fwpack/tail.h"

// What lies between "prepare" and "attach", as text: the line "fwpack-prepared-signature 1", then one line
// "name: value" for each field, each name once and in a fixed order, octets in hexadecimal, lines ended by
// LF.
namespace fwpack {

struct PreparedState {
  ContentSummary content{};
  std::string digest{};  // the name of the digest
  UtcTime signing_time = 0;
  SignatureForm form = SignatureForm::kDer;
  TailFields tail{};
  std::vector<CertPtr> certs{};  // that the message carries, the signer's first; one or two
  std::string attributes{};      // the bytes to be signed
};

std::string FormatPreparedState(const PreparedState& state);

/// Reads a state file. Nothing in it is taken on trust: each field must have its form, and the attributes
/// must be those that follow from the other fields. Throws Error that names the file and the field.
PreparedState LoadPreparedState(const std::filesystem::path& file);

}  // namespace fwpack

#endif
