#ifndef FWVET_VERIFY_LUMO_LIMITS_H
#define FWVET_VERIFY_LUMO_LIMITS_H

#include "verify/lumo.h"

// Every bound that keeps hostile input from costing more than it may, in one place.

/// Slots of every list: certificates, CRLs, raw buffers, digests, candidate CRLs, CRLs of a bundle.
inline constexpr TEV_UINT32 kListCapacity = 16;

/// Shortest input that can be a certificate, CRL or signature.
inline constexpr TEV_UINT32 kMinInputLength = 38;

/// Bytes that may trail the last object of a DER input: fewer than this many count as padding.
inline constexpr TEV_UINT32 kDerPaddingLimit = 33;

/// Largest file that is read whole.
inline constexpr TEV_UINT64 kMaxFileSize = 2'000'000;

/// Piece in which lumo_verify_detach_signature_quick reads the content.
inline constexpr TEV_UINT32 kQuickChunk = 4096;

/// Nesting of path validations: one outer call and ten inside one another.
inline constexpr TEV_INT kMaxValidationDepth = 10;

/// Nested validations that one outer call may start in all. Indirect CRLs that vouch for each other would
/// otherwise make the work grow exponentially with the depth.
inline constexpr TEV_UINT32 kMaxNestedValidations = 1000;

/// Room for a digest: SHA-512.
inline constexpr TEV_UINT32 kMaxDigest = 64;

/// Room for a streamed signature: one byte more than an RSA-4096 signature.
inline constexpr TEV_UINT32 kMaxStreamedSignature = 513;

/// Room for a key component: 4096 bits.
inline constexpr TEV_UINT32 kMaxKeyComponent = sizeof(LUMO_BIGINT::aVal);

/// Room for a name as text and for one attribute of it, terminators included.
inline constexpr TEV_UINT32 kReadableName = 256;
inline constexpr TEV_UINT32 kReadableAttribute = 128;

/// Nesting of the decoding tables; bounds the decoder's recursion and so its stack.
inline constexpr unsigned kMaxTemplateDepth = 16;

#endif
