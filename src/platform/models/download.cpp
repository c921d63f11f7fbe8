#include "platform/models/download.h"

#include "models/megabytes.h"
#include "platform/models/curl_handles.h"
#include "platform/models/model_url.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <exception>
#include <new>
#include <optional>
#include <string_view>

namespace {

constexpr long ok = 200;
constexpr long partialContent = 206;
constexpr long rangeNotSatisfiable = 416;

constexpr std::size_t longestRefusal = 65536; // bytes; what is sent with a redirect or a refusal is not read

/// Loads libcurl's own state once. It is never freed: a download may still run when the process exits.
void requireCurl() {
    static const CURLcode result = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (result != CURLE_OK) throw std::bad_alloc();
}

Error networkError(const std::string& sentence) {
    return modelError(ModelFailure::network, sentence);
}

/// "Content-Range: bytes 500-999/1000" (RFC 9110, 14.4): where the content begins, and the whole length.
struct ContentRange {
    std::uint64_t first;
    std::uint64_t whole;
};

std::optional<ContentRange> contentRange(const char* value) {
    if (value == nullptr) return std::nullopt;
    const std::string_view text = value;
    constexpr std::string_view unit = "bytes ";
    const std::size_t dash = text.find('-');
    const std::size_t slash = text.find('/');
    if (!text.starts_with(unit) || dash == text.npos || slash == text.npos) return std::nullopt;
    ContentRange range{};
    const auto number = [&](std::size_t from, std::size_t to, std::uint64_t& into) {
        const auto end = std::from_chars(text.data() + from, text.data() + to, into);
        return end.ec == std::errc() && end.ptr == text.data() + to && from < to;
    };
    if (!number(unit.size(), dash, range.first) || !number(slash + 1, text.size(), range.whole))
        return std::nullopt;
    return range;
}

/// One request and its answer.
class Request {
  public:
    enum class Outcome { complete, redirected, startOver };

    Request(const ModelUrl& url, const DownloadSource& source, LocalFile& file,
            const std::function<void(std::uint64_t)>& onBytes)
        : m_url(url), m_source(source), m_file(file), m_onBytes(onBytes), m_held(file.size()),
          m_easy(curl_easy_init()), m_multi(curl_multi_init()) {
        if (!m_easy || !m_multi) throw std::bad_alloc();
    }

    Outcome run(const DownloadLimits& limits, const std::stop_token& stop) {
        configure(limits);
        const CURLcode result = perform(stop);
        if (m_fault) std::rethrow_exception(m_fault);
        const long status = httpStatus();
        if (m_wrongPart || (status == rangeNotSatisfiable && m_asksForRest)) return Outcome::startOver;
        if (const char* target = redirection(); target != nullptr && result == CURLE_OK) {
            m_target = target;
            return Outcome::redirected;
        }
        if (status >= 300) throw unexpectedStatus(status);
        conclude(result, status);
        return Outcome::complete;
    }
    /// Where the server sent us.
    const std::string& target() const { return m_target; }

  private:
    template <typename Value>
    void set(CURLoption option, Value value) {
        if (curl_easy_setopt(m_easy.get(), option, value) != CURLE_OK) throw std::bad_alloc();
    }

    void configure(const DownloadLimits& limits) {
        set(CURLOPT_URL, m_url.text.c_str());
        set(CURLOPT_PROTOCOLS_STR, m_url.isLocal ? "http" : "https");
        if (m_url.isLocal) set(CURLOPT_NOPROXY, "*"); // "this machine" would mean the proxy's
        set(CURLOPT_USERAGENT, "murmelo");
        set(CURLOPT_CONNECTTIMEOUT, limits.connecting);
        set(CURLOPT_LOW_SPEED_LIMIT, 1000L);
        set(CURLOPT_LOW_SPEED_TIME, limits.stall);
        set(CURLOPT_NOSIGNAL, 1L);
        set(CURLOPT_QUICK_EXIT, 1L); // else a stop waits for the name to be resolved
        m_asksForRest = m_held > 0;
        if (m_asksForRest) set(CURLOPT_RANGE, (std::to_string(m_held) + "-").c_str());
        set(CURLOPT_WRITEFUNCTION, &Request::onBody);
        set(CURLOPT_WRITEDATA, static_cast<void*>(this));
    }

    CURLcode perform(const std::stop_token& stop) {
        const CurlDriving driving(m_multi.get(), m_easy.get());
        const std::stop_callback wake(stop, [this] { curl_multi_wakeup(m_multi.get()); });
        int running = 1;
        while (running > 0) {
            throwIfStopped(stop);
            if (curl_multi_perform(m_multi.get(), &running) != CURLM_OK) throw std::bad_alloc();
            if (running > 0) curl_multi_poll(m_multi.get(), nullptr, 0, 1000, nullptr);
        }
        throwIfStopped(stop);
        int left = 0;
        const CURLMsg* message = curl_multi_info_read(m_multi.get(), &left);
        return message != nullptr ? message->data.result : CURLE_RECV_ERROR;
    }

    long httpStatus() const {
        long status = 0;
        curl_easy_getinfo(m_easy.get(), CURLINFO_RESPONSE_CODE, &status);
        return status;
    }
    const char* redirection() const {
        char* target = nullptr;
        curl_easy_getinfo(m_easy.get(), CURLINFO_REDIRECT_URL, &target);
        return target;
    }

    static std::size_t onBody(const char* bytes, std::size_t, std::size_t count, void* self) noexcept {
        return static_cast<Request*>(self)->take({bytes, count});
    }

    /// How many were taken; fewer than all of them end the request.
    std::size_t take(std::span<const char> bytes) noexcept {
        const long status = httpStatus();
        if (status != ok && status != partialContent) {
            m_ignored += bytes.size();
            return m_ignored <= longestRefusal ? bytes.size() : 0;
        }
        try {
            if (!m_begun && !begin(status)) return 0;
            if (bytes.size() > m_source.bytes - m_held) throw wrongLength(ModelFailure::content, "more");
            m_file.write(bytes);
            m_held += bytes.size();
            m_onBytes(m_held);
            return bytes.size();
        } catch (...) {
            m_fault = std::current_exception();
            return 0;
        }
    }

    /// Looks, before the first byte is written, whether they belong at the file's end. What is refused here
    /// has done it no harm.
    bool begin(long status) {
        m_begun = true;
        if (status == partialContent) {
            const auto range = contentRange(header("Content-Range"));
            if (range && range->whole != m_source.bytes)
                throw wrongLength(ModelFailure::content, std::to_string(range->whole));
            if (range && range->first == m_held) return true;
            if (!m_asksForRest)
                throw networkError(m_url.host + " sent a part of the speech model instead of the whole.");
            m_wrongPart = true;
            return false;
        }
        curl_off_t announced = -1;
        curl_easy_getinfo(m_easy.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
        if (announced >= 0 && static_cast<std::uint64_t>(announced) != m_source.bytes)
            throw wrongLength(ModelFailure::network, std::to_string(announced));
        m_file.clear();
        m_held = 0;
        return true;
    }

    /// Throws unless the file is complete.
    void conclude(CURLcode result, long status) {
        if (result == CURLE_OK && m_held == m_source.bytes) return;
        if (result == CURLE_OK && status == ok)
            throw m_begun ? wrongLength(ModelFailure::content, std::to_string(m_held))
                          : wrongLength(ModelFailure::network, "no");
        if (!m_begun)
            throw networkError("The speech model could not be downloaded from " + m_url.host + ": " +
                               curl_easy_strerror(result) + ".");
        const std::string soFar = " after " + megabytes(m_held) + " of " + megabytes(m_source.bytes) +
                                  "; the next attempt goes on from there.";
        throw networkError(result == CURLE_OPERATION_TIMEDOUT
                               ? m_url.host + " stopped sending the speech model" + soFar
                               : "The download of the speech model from " + m_url.host + " broke off" +
                                     soFar);
    }

    const char* header(const char* name) const {
        curl_header* found = nullptr;
        curl_easy_header(m_easy.get(), name, 0, CURLH_HEADER, -1, &found);
        return found != nullptr ? found->value : nullptr;
    }
    Error unexpectedStatus(long status) const {
        return networkError(m_url.host + " does not give out the speech model (HTTP status " +
                            std::to_string(status) + ").");
    }
    Error wrongLength(ModelFailure code, const std::string& sent) const {
        return modelError(code,
                          "What " + m_url.host + " sent is not the speech model: it has " + sent +
                              " bytes instead of " + std::to_string(m_source.bytes) +
                              ". Some networks answer with a page of their own until one has logged in.");
    }

    const ModelUrl& m_url;
    const DownloadSource& m_source;
    LocalFile& m_file;
    const std::function<void(std::uint64_t)>& m_onBytes;
    std::uint64_t m_held; // bytes in the file
    bool m_asksForRest = false;
    bool m_begun = false;
    bool m_wrongPart = false;
    std::size_t m_ignored = 0;
    std::exception_ptr m_fault;
    std::string m_target;
    CurlEasy m_easy;
    CurlMulti m_multi;
};

} // namespace

void download(const DownloadSource& source, LocalFile& file, const DownloadLimits& limits,
              const std::function<void(std::uint64_t)>& onBytes, const std::stop_token& stop) {
    requireCurl();
    if (file.size() > source.bytes) file.clear();
    ModelUrl url(source.url);
    for (int redirects = 0; file.size() < source.bytes;) {
        Request request(url, source, file, onBytes);
        const Request::Outcome outcome = request.run(limits, stop);
        if (outcome == Request::Outcome::startOver) file.clear();
        if (outcome != Request::Outcome::redirected) continue;
        if (++redirects > limits.redirects)
            throw networkError(url.host + " redirects more than " + std::to_string(limits.redirects) +
                               " times.");
        url = url.redirected(request.target());
    }
}
