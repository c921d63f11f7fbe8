#include "platform/models/model_url.h"

#include "base/error.h"
#include "models/model_store.h"

#include <gtest/gtest.h>

namespace {

/// What is said of that redirect; nothing when it is followed.
std::string refusal(const std::string& from, const std::string& to) {
    try {
        EXPECT_EQ(ModelUrl(from).redirected(to).text, to);
    } catch (const Error& error) {
        EXPECT_EQ(error.domain(), "models");
        EXPECT_EQ(error.code(), static_cast<int>(ModelFailure::network));
        return error.localizedDescription();
    }
    return {};
}

TEST(ModelUrlTest, ARedirectFromHttpsToThisMachineIsRefused) {
    for (const std::string target :
         {"http://127.0.0.1/m", "http://127.0.0.2:8080/m", "http://localhost:631/", "http://[::1]/m",
          "http://2130706433/m", "http://0x7f.1/m", "https://localhost/m", "https://127.0.0.1:8443/m"})
        EXPECT_EQ(refusal("https://models.example/m", target),
                  "“" + target + "” is refused: another machine redirects to this one.");
}

TEST(ModelUrlTest, OtherRedirectsAreFollowed) {
    EXPECT_EQ(refusal("https://models.example/m", "https://cdn.example/m"), "");
    EXPECT_EQ(refusal("http://127.0.0.1:1/m", "http://127.0.0.1:2/m"), "");
    EXPECT_EQ(refusal("http://localhost/m", "http://[::1]/m"), "");
    EXPECT_EQ(refusal("http://127.0.0.1/m", "https://models.example/m"), "");
}

TEST(ModelUrlTest, ARedirectFromHttpsToPlainHttpIsRefused) {
    EXPECT_EQ(refusal("https://models.example/m", "http://models.example/m"),
              "“http://models.example/m” is refused: speech models come over https only.");
}

} // namespace
