#include "platform/lumo_plt_impl.h"

// The filler of the callback table has C++ linkage; a C program reaches it through this name.
extern "C" int lumo_set_callback_funcs_for_c(LUMO_CALLBACK_FUNCS* funcs) {
  return lumo_set_callback_funcs(funcs);
}
