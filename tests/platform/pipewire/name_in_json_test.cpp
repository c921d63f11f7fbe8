#include "platform/pipewire/calls.h"

#include <gtest/gtest.h>

namespace {

using pipewire::nameInJson;

TEST(NameInJson, IsTheValueOfTheKey) {
    EXPECT_EQ(nameInJson(R"({"name":"alsa_input.usb-Røde"})"), "alsa_input.usb-Røde");
    EXPECT_EQ(nameInJson(R"({ "other": { "name": 1 }, "name": "mic" })"), "mic");
    EXPECT_EQ(nameInJson(R"({"name":"with \"quotes\""})"), "with \"quotes\"");
}

TEST(NameInJson, IsEmptyWithoutOne) {
    for (const char* json : {"", "{}", "{", "null", "[]", R"("name")", R"({"name"})", R"({"names":"mic"})"})
        EXPECT_EQ(nameInJson(json), "") << json;
}

} // namespace
