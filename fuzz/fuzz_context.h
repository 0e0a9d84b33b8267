#ifndef FWVET_FUZZ_FUZZ_CONTEXT_H
#define FWVET_FUZZ_FUZZ_CONTEXT_H

#include "verify/lumo_vrf.h"

/// A verify context over the platform's own callbacks, freed with the object.
class FuzzContext {
 public:
  FuzzContext();
  ~FuzzContext();
  FuzzContext(const FuzzContext&) = delete;
  FuzzContext& operator=(const FuzzContext&) = delete;

  [[nodiscard]] LUMO_VRF_CTX get() const { return ctx_; }
  [[nodiscard]] LUMO_VRF* record() const { return static_cast<LUMO_VRF*>(ctx_); }

 private:
  LUMO_VRF_CTX ctx_ = nullptr;
};

#endif
