#pragma once

#include "platform/models/faults.h"

#include <curl/curl.h>
#include <memory>
#include <string>

struct CurlEasyDeleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct CurlMultiDeleter {
    void operator()(CURLM* handle) const { curl_multi_cleanup(handle); }
};
struct CurlUrlDeleter {
    void operator()(CURLU* handle) const { curl_url_cleanup(handle); }
};
using CurlEasy = std::unique_ptr<CURL, CurlEasyDeleter>;
using CurlMulti = std::unique_ptr<CURLM, CurlMultiDeleter>;
using CurlUrl = std::unique_ptr<CURLU, CurlUrlDeleter>;

/// Has the multi handle drive the easy one for a scope.
class CurlDriving {
  public:
    CurlDriving(CURLM* multi, CURL* easy) : m_multi(multi), m_easy(easy) {
        curl_multi_add_handle(multi, easy);
    }
    ~CurlDriving() { curl_multi_remove_handle(m_multi, m_easy); }
    CurlDriving(const CurlDriving&) = delete;
    CurlDriving& operator=(const CurlDriving&) = delete;

  private:
    CURLM* m_multi;
    CURL* m_easy;
};
