#pragma once

#include "Ports/URLError.h"

#include <curl/curl.h>

namespace vorlin {

/// What the end of a transfer on `handle` with `result`, which is no success, means to a person.
URLError errorOf(CURLcode result, CURL* handle);

} // namespace vorlin
