#include "platform/models/sha256.h"

#include <gtest/gtest.h>
#include <string_view>

namespace {

std::string digestOf(std::string_view text) {
    Sha256 hash;
    hash.update(text);
    return hash.digest();
}

// The examples of the National Institute of Standards and Technology for FIPS 180-4.
TEST(Sha256, IsWhatTheStandardSays) {
    EXPECT_EQ(digestOf(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(digestOf("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(digestOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
}

TEST(Sha256, PiecesMakeTheSameAsTheWhole) {
    Sha256 hash;
    hash.update(std::string_view("a"));
    hash.update(std::string_view());
    hash.update(std::string_view("bc"));
    EXPECT_EQ(hash.digest(), digestOf("abc"));
    EXPECT_EQ(hash.digest(), digestOf("")) << "begins anew";
}

} // namespace
