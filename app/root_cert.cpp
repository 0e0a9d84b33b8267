#include "app/root_cert.h"

#include <cstring>

void JoinRootCert(unsigned char* out) {
  std::memcpy(out, g_ucRootCert, sizeof g_ucRootCert);
  std::memcpy(out + sizeof g_ucRootCert, g_ucRootCertEnd, sizeof g_ucRootCertEnd);
}
