// A reply of the update service to the offer that it makes.

#include "fuzz/Fuzzing.h"
#include "update/UpdateOffer.h"

void start(int &, char **) { }

void check(const QByteArray &reply)
{
    const auto offer = UpdateOffer::fromMessage(reply);
    if (offer && !UpdateOffer::leadsToThisMachine(offer->url))
        FUZZ_VERIFY(!offer->url.isLocalFile());
}
