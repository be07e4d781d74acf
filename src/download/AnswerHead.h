#pragma once

#include "download/RangeAnswer.h"

class QNetworkReply;

// What the verdict on an answer needs of its reply, once the reply has its status.
[[nodiscard]] RangeAnswer::Head answerHead(const QNetworkReply &reply);
