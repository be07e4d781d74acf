// A reply of the update service to the offer that it makes.

#include "fuzz/Fuzzing.h"
#include "update/UpdateOffer.h"

int LLVMFuzzerInitialize(int *, char ***)
{
    silence();
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto offer = UpdateOffer::fromMessage(inputOf(data, size));
    if (offer && UpdateOffer::leadsToTheWeb(offer->url))
        FUZZ_VERIFY(offer->url.scheme().isEmpty() || offer->url.scheme().startsWith(QLatin1String("http")));
    return 0;
}
