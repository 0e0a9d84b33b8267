#include <cstdio>

#include "app/root_cert.h"

int main() {
  unsigned char text[kRootCertSize];
  JoinRootCert(text);
  return std::fwrite(text, 1, sizeof text, stdout) == sizeof text ? 0 : 1;
}
