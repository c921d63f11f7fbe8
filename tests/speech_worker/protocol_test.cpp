#include "speech_worker/protocol.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

using protocol::End;
using protocol::Failure;
using protocol::Length;
using protocol::parse;
using protocol::Utterance;
using protocol::Violation;

template <class Kind>
Kind roundTrip(const Kind& message) {
    const std::string written = protocol::line(message);
    EXPECT_EQ(written.find('\n'), written.size() - 1);
    return std::get<Kind>(parse(std::string_view(written).substr(0, written.size() - 1)));
}

TEST(Protocol, MessagesReadBackAsWritten) {
    const Utterance utterance = roundTrip(Utterance{1.25, 3.5, "Say \"caf\u00e9\"\n\\"});
    EXPECT_EQ(utterance.start, 1.25);
    EXPECT_EQ(utterance.end, 3.5);
    EXPECT_EQ(utterance.text, "Say \"caf\u00e9\"\n\\");
    EXPECT_EQ(roundTrip(End{12.5}).lastSampleTime, 12.5);
    EXPECT_EQ(roundTrip(End{}).lastSampleTime, std::nullopt);
    EXPECT_EQ(roundTrip(Length{576000, 44100}).frames, 576000);
    EXPECT_EQ(roundTrip(Length{576000, 44100}).sampleRate, 44100);
    EXPECT_EQ(roundTrip(Length{std::numeric_limits<std::int64_t>::max(), 1}).frames,
              std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(roundTrip(Failure{"It broke."}).description, "It broke.");
}

TEST(Protocol, UnknownTimesAreNull) {
    const Utterance utterance = roundTrip(
        Utterance{std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), "a"});
    EXPECT_TRUE(std::isnan(utterance.start));
    EXPECT_TRUE(std::isnan(utterance.end));
}

TEST(Protocol, TextThatIsNotUtf8IsRepairedByTheWriter) {
    EXPECT_EQ(roundTrip(Failure{"caf\xE9!"}).description, "caf\uFFFD!");
}

TEST(Protocol, UnknownKeysAreIgnored) {
    const auto message = parse(R"( {"start":0,"confidence":[0.5],"end":1,"text":"a","x":{"text":2}} )");
    EXPECT_EQ(std::get<Utterance>(message).text, "a");
}

TEST(Protocol, EverythingElseIsAViolation) {
    for (const std::string text : {"",
                                   " ",
                                   "hello",
                                   "null",
                                   "1",
                                   "[]",
                                   "{}",
                                   "{",
                                   R"({"x":1})",
                                   R"({"frames":1})",
                                   R"({"frames":1,"sampleRate":null})",
                                   R"({"frames":1,"sampleRate":0.5})",
                                   R"({"frames":1,"sampleRate":"48000"})",
                                   R"({"frames":-1,"sampleRate":48000})",
                                   R"({"frames":1.5,"sampleRate":48000})",
                                   R"({"frames":9223372036854775808,"sampleRate":48000})",
                                   R"({"frames":1,"sampleRate":48000,"text":"a"})",
                                   R"({"text":"a"})",
                                   R"({"start":1,"text":"a"})",
                                   R"({"start":1,"end":"2","text":"a"})",
                                   R"({"start":true,"end":2,"text":"a"})",
                                   R"({"start":1,"end":2,"text":null})",
                                   R"({"start":1e999,"end":2,"text":"a"})",
                                   R"({"start":NaN,"end":2,"text":"a"})",
                                   R"({"start":1,"end":2,"text":7})",
                                   R"({"lastSampleTime":"1"})",
                                   R"({"lastSampleTime":-1e999})",
                                   R"({"error":1})",
                                   R"({"error":"a","lastSampleTime":1})",
                                   R"({"lastSampleTime":1} {"lastSampleTime":1})",
                                   R"({"lastSampleTime":1},)"})
        EXPECT_THROW(parse(text), Violation) << text;
    EXPECT_THROW(parse("{\"error\":\"caf\xE9\"}"), Violation);
    EXPECT_THROW(parse("{\"error\":\"\xED\xA0\x80\"}"), Violation); // a surrogate is no character
    EXPECT_THROW(parse("{\"error\":\"\xC0\xAF\"}"), Violation);     // overlong
    EXPECT_THROW(parse(std::string("{\"error\":\"a\0b\"}", 15)), Violation);
    EXPECT_THROW(parse(std::string(60000, '[')), Violation);
}

} // namespace
