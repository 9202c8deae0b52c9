#include "OrvaneCore/RandomSource.h"

#include <windows.h>
// wincrypt.h wants windows.h before it.
#include <wincrypt.h>

namespace Orvane {

std::uint32_t randomNumber() {
    std::uint32_t number = 0;
    HCRYPTPROV provider = 0;
    if (CryptAcquireContextW(&provider, nullptr, nullptr, PROV_RSA_FULL,
                             CRYPT_VERIFYCONTEXT | CRYPT_SILENT) == 0)
        return number;
    CryptGenRandom(provider, sizeof(number), reinterpret_cast<BYTE*>(&number));
    CryptReleaseContext(provider, 0);
    return number;
}

}  // namespace Orvane
