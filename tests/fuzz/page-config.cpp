// The body of a watch page to the player configuration that it embeds.

#include "fuzz/Fuzzing.h"
#include "youtube/PlayerConfig.h"

int LLVMFuzzerInitialize(int *, char ***)
{
    silence();
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray body = inputOf(data, size);
    if (PlayerConfig::fromPage(body))
        FUZZ_VERIFY(body.contains("ytplayer.config = ") && body.contains(";ytplayer.load"));
    return 0;
}
