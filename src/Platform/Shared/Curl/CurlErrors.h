#pragma once

#include "Ports/URLError.h"

#include <curl/curl.h>

namespace vorlin {

/// Whether this machine has an address that others could reach.
bool hasNetwork();

/// What the end of a transfer on `handle` with `result`, which is no success, means to a person;
/// `isConnected` is asked where that makes a difference.
URLError errorOf(CURLcode result, CURL* handle, bool (*isConnected)() = &hasNetwork);

} // namespace vorlin
