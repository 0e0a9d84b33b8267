#ifndef FWVET_APP_CRL_UPDATE_H
#define FWVET_APP_CRL_UPDATE_H

/// Stores the CRL of the package at `pFilePath` on the device when it is newer than the stored one, or when
/// there is none that can be read and decoded. Prints one line when it has tried to write; a package that
/// cannot be read, or whose CRL is not newer, is passed over silently.
///
/// A CRL longer than 32768 bytes does not fit: the record is then written with a cleared buffer and the full
/// length.
void BSP_BackupCrlFile(const char* pFilePath);

/// Compares two CRL bundles, DER or PEM, lengths in bytes. Returns 1 when the first is newer or the second
/// cannot be decoded, 0 when it is not newer or the two cannot be compared, LUMO_ERR_PARAM (0x88100001) for a
/// null pointer or a zero length, LUMO_ERR_MALLOC (0x88000001) when the root certificate's buffer cannot be
/// allocated. Callers take every non-zero return for a decision to update.
unsigned long BSP_LUMO_Crl_Compare_Update(const unsigned char* pucCrlToUpdate,
                                          unsigned long ulCrlToUpdateSize,
                                          const unsigned char* pucCrlOnDevice,
                                          unsigned long ulCrlOnDeviceSize);

#endif
