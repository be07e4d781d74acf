// The body of a watch page to the player configuration that it embeds.

#include "fuzz/Fuzzing.h"
#include "youtube/PlayerConfig.h"

void start(int &, char **) { }

void check(const QByteArray &body)
{
    if (PlayerConfig::fromPage(body))
        FUZZ_VERIFY(body.contains("ytplayer.config = ") && body.contains(";ytplayer.load"));
}
