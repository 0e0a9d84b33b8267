#ifndef FWVET_APP_FWVET_H
#define FWVET_APP_FWVET_H

#include "app/checked_file.h"   // get_file_size
#include "app/cmsdebug.h"       // g_debug, cmsdebug
#include "app/device_state.h"   // the piece file wrappers
#include "app/fwvet_options.h"  // CMD_PARA, cmd_paras, lookup_cmd_para

/// The whole tool: initialises CRC tables, flash and piece file system, walks the `args` arguments of `argv`
/// and does what they say. Returns the exit status: 0 for a genuine file and for "-version"; 1 for a file
/// without a trailer that the start-up record admits, and when the piece file system cannot be initialised;
/// -1 for every other failure or rejection; for "-recover" the status of its write.
int fwvet_main(int args, const char* const* argv);

/// Prints the usage text.
void usage();

/// Checks one file and, with `backup` non-zero, keeps the CRL of a genuine one. Returns 0 when the file is
/// genuine, 1 when it has no trailer and the start-up record admits such files, -1 otherwise. A null path is
/// a file that cannot be opened.
int do_fwvet(const char* file_full_name, int backup);

/// Extracts signature and CRLs from a package, adds the device CRL and checks the signature. Returns 0 when
/// the file is genuine, 0xFFFFFFFF otherwise. Prints the revocation line when only the device CRL rejects the
/// signer.
unsigned int FileCertCheck(const char* pcFilePath);

/// Sets the check mode of the start-up record back to normal and leaves its other flags alone. Returns 0 when
/// it is normal already (nothing is written), else the status of the write.
int do_recover();

#endif
