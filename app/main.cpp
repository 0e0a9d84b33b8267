#include "app/fwvet.h"

int main(int argc, char** argv) {
  return fwvet_main(argc, argv);
}
