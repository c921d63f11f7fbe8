#include "platform/models/model_url.h"

#include "platform/models/curl_handles.h"

namespace {

std::string part(CURLU* url, CURLUPart which) {
    char* found = nullptr;
    if (curl_url_get(url, which, &found, 0) != CURLUE_OK) return {};
    const std::unique_ptr<char, decltype(&curl_free)> owner(found, &curl_free);
    return found;
}

/// localhost (RFC 6761) and the loopback addresses, in the form into which libcurl brings every way of
/// writing one.
bool isLoopback(const std::string& host) {
    return host == "localhost" || host == "[::1]" ||
           (host.starts_with("127.") && host.find_first_not_of("0123456789.") == std::string::npos);
}

} // namespace

ModelUrl::ModelUrl(const std::string& address) : text(address) {
    const CurlUrl url(curl_url());
    if (!url || curl_url_set(url.get(), CURLUPART_URL, address.c_str(), 0) != CURLUE_OK)
        throw modelError(ModelFailure::network, "“" + address + "” is no address of a speech model.");
    host = part(url.get(), CURLUPART_HOST);
    const std::string scheme = part(url.get(), CURLUPART_SCHEME);
    isThisMachine = isLoopback(host);
    isLocal = scheme == "http" && isThisMachine;
    if (scheme != "https" && !isLocal)
        throw modelError(ModelFailure::network,
                         "“" + address + "” is refused: speech models come over https only.");
}

ModelUrl ModelUrl::redirected(const std::string& target) const {
    ModelUrl next(target);
    if (next.isThisMachine && !isThisMachine)
        throw modelError(ModelFailure::network,
                         "“" + target + "” is refused: another machine redirects to this one.");
    return next;
}
