#ifndef FWVET_VERIFY_CMS_VERIFY_H
#define FWVET_VERIFY_CMS_VERIFY_H

#include "verify/cms_signer.h"
#include "verify/lumo_ctx.h"
#include "verify/lumo_load.h"

// The detached signature: lumo_verify_detach_signature_begin, _update, _final and _quick of verify/lumo.h.
// Begin judges all that needs no content and leaves open checks in the context; update feeds them; final
// compares.

#endif
