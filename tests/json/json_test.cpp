#include "json/json.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

std::string line(const Json& json) {
    return json.text(Json::Layout::line);
}

std::string nested(int levels) {
    return std::string(static_cast<std::size_t>(levels), '[') +
           std::string(static_cast<std::size_t>(levels), ']');
}

TEST(JsonTest, MembersAreWrittenInTheirOrder) {
    const Json json =
        Json::Object{{"b", true}, {"a", nullptr}, {"c", Json::Array{1.5, "x", std::uint64_t{7}}}};
    EXPECT_EQ(line(json), R"({"b":true,"a":null,"c":[1.5,"x",7]})");
    EXPECT_EQ(json.text(Json::Layout::indented), R"({
  "b": true,
  "a": null,
  "c": [
    1.5,
    "x",
    7
  ]
})");
}

TEST(JsonTest, WhatIsWrittenIsReadAgain) {
    const std::string text =
        R"({"a":[null,true,false,0,18446744073709551615,-3.0,0.1,"\u00e4\"\\\n"],"b":{},"c":[]})";
    const std::optional<Json> json = Json::parse(text);
    ASSERT_TRUE(json);
    EXPECT_EQ(line(*json),
              R"({"a":[null,true,false,0,18446744073709551615,-3.0,0.1,"ä\"\\\n"],"b":{},"c":[]})");
}

TEST(JsonTest, EachValueIsOfOneType) {
    const std::optional<Json> json = Json::parse(R"([null, true, 3, 3.5, -3, "3", [], {}])");
    ASSERT_TRUE(json);
    const auto& values = *json->as<Json::Array>();
    EXPECT_TRUE(values[0].isNull());
    EXPECT_EQ(values[0].as<bool>(), nullptr);
    EXPECT_TRUE(*values[1].as<bool>());
    EXPECT_EQ(*values[2].as<std::uint64_t>(), 3U);
    EXPECT_EQ(values[2].number(), 3.0);
    EXPECT_EQ(values[3].as<std::uint64_t>(), nullptr);
    EXPECT_EQ(values[3].number(), 3.5);
    EXPECT_EQ(values[4].as<std::uint64_t>(), nullptr);
    EXPECT_EQ(values[4].number(), -3.0);
    EXPECT_EQ(*values[5].as<std::string>(), "3");
    EXPECT_EQ(values[5].number(), std::nullopt);
    EXPECT_NE(values[6].as<Json::Array>(), nullptr);
    EXPECT_NE(values[7].as<Json::Object>(), nullptr);
}

TEST(JsonTest, MembersAreFoundByName) {
    const std::optional<Json> json = Json::parse(R"({"a": 1, "b": 2, "a": 3})");
    ASSERT_TRUE(json);
    EXPECT_EQ(*json->find("a")->as<std::uint64_t>(), 3U) << "the last one of two counts";
    EXPECT_EQ(json->find("c"), nullptr);
    EXPECT_EQ(Json(true).find("a"), nullptr);
    EXPECT_EQ(line(*json), R"({"a":3,"b":2})");
}

TEST(JsonTest, WhatIsNoJsonGivesNothing) {
    for (const char* text : {"", "{", "nul", "[1,]", "{\"a\"}", "1 2", "\"\xff\"", "NaN", "1e999"})
        EXPECT_FALSE(Json::parse(text)) << text;
}

TEST(JsonTest, LevelsAreBounded) {
    EXPECT_TRUE(Json::parse(nested(64)));
    EXPECT_FALSE(Json::parse(nested(65)));
    EXPECT_FALSE(Json::parse(std::string(1'000'000, '[')));
}

TEST(JsonTest, BytesThatAreNoUtf8BecomeReplacementCharacters) {
    EXPECT_EQ(line(Json("a\xff")), "\"a\xEF\xBF\xBD\"");
}

TEST(JsonTest, WhatIsNoNumberOfJsonIsWrittenAsNull) {
    EXPECT_EQ(
        line(Json::Array{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}),
        "[null,null]");
}

} // namespace
