#include "Ports/URLError.h"

namespace vorlin {

namespace {

const char* lineOf(URLError::Code code)
{
    switch (code) {
    case URLError::Code::cancelled: return "The download was cancelled.";
    case URLError::Code::timedOut: return "The model hub did not answer in time. Try again later.";
    case URLError::Code::noNetwork:
        return "There is no network connection. Connect to a network and try again.";
    case URLError::Code::hostNotFound:
        return "The model hub's address could not be found. Check the network connection and try "
               "again.";
    case URLError::Code::hostUnreachable:
        return "The model hub cannot be reached. Check the network connection and try again.";
    case URLError::Code::certificateNotTrusted:
        return "The server that answered could not prove that it is the model hub: its "
               "certificate is not trusted.";
    case URLError::Code::connectionLost: return "The connection to the model hub was lost.";
    case URLError::Code::redirectRefused:
        return "The model hub led to an address that is not safe, and the download was stopped.";
    case URLError::Code::redirectedTooOften:
        return "The model hub led from one address to the next without end.";
    case URLError::Code::proxyRefused:
        return "The network's proxy did not let the download through.";
    case URLError::Code::badServerResponse:
        return "The answer was not the model hub's. A network that wants a login first can be the "
               "cause.";
    case URLError::Code::other: break;
    }
    return "The download failed.";
}

} // namespace

URLError::URLError(Code code) : URLError(code, lineOf(code)) {}

} // namespace vorlin
