#include "cli/arguments.h"

#include <gtest/gtest.h>

namespace {

class CommandArguments : public testing::Test {
  protected:
    Arguments parse(std::vector<std::string> words) {
        m_words = std::move(words);
        std::vector<char*> argv;
        for (std::string& word : m_words) argv.push_back(word.data());
        argv.push_back(nullptr);
        return {static_cast<int>(m_words.size()),
                argv.data(),
                {{"seconds", Arguments::Value::required}, {"json", Arguments::Value::none}}};
    }
    bool asksForLog(std::vector<std::string> words) {
        m_words = std::move(words);
        std::vector<char*> argv;
        for (std::string& word : m_words) argv.push_back(word.data());
        argv.push_back(nullptr);
        const std::vector<char*> before = argv;
        const bool result = wantsLog(static_cast<int>(m_words.size()), argv.data());
        EXPECT_EQ(argv, before);
        return result;
    }
    std::vector<std::string> m_words;
};

TEST_F(CommandArguments, OptionsAndOperandsMayComeInAnyOrder) {
    const Arguments arguments = parse({"record", "one", "--json", "--seconds", "3", "two"});
    EXPECT_EQ(arguments.fault(), "");
    EXPECT_TRUE(arguments.has("json"));
    EXPECT_EQ(arguments.value("seconds"), "3");
    EXPECT_EQ(arguments.operands(), (std::vector<std::string>{"one", "two"}));
}

TEST_F(CommandArguments, ValueMayFollowAnEqualsSign) {
    EXPECT_EQ(parse({"record", "--seconds=0.5"}).value("seconds"), "0.5");
    EXPECT_EQ(parse({"record", "--seconds="}).value("seconds"), "");
}

TEST_F(CommandArguments, AbsentOptionsHaveNoValue) {
    const Arguments arguments = parse({"record"});
    EXPECT_FALSE(arguments.has("json"));
    EXPECT_EQ(arguments.value("seconds"), std::nullopt);
    EXPECT_TRUE(arguments.operands().empty());
}

TEST_F(CommandArguments, TwoDashesEndTheOptions) {
    EXPECT_EQ(parse({"record", "--", "--json"}).operands(), std::vector<std::string>{"--json"});
}

TEST_F(CommandArguments, UnknownOptionIsNamed) {
    EXPECT_EQ(parse({"record", "--loud"}).fault(), "“--loud” is no option of “record”.");
    EXPECT_EQ(parse({"record", "one", "-x"}).fault(), "“-x” is no option of “record”.");
    EXPECT_EQ(parse({"record", "--json=yes"}).fault(), "“--json=yes” is no option of “record”.");
}

TEST_F(CommandArguments, VerboseIsAnOptionOfEverySubcommand) {
    const Arguments arguments = parse({"record", "--verbose", "one", "--json"});
    EXPECT_EQ(arguments.fault(), "");
    EXPECT_TRUE(arguments.has("json"));
    EXPECT_EQ(arguments.operands(), std::vector<std::string>{"one"});
    EXPECT_EQ(parse({"record", "--verbose=yes"}).fault(), "“--verbose=yes” is no option of “record”.");
}

TEST_F(CommandArguments, LogIsWantedWithVerboseAmongAnyOtherArguments) {
    EXPECT_TRUE(asksForLog({"record", "--verbose"}));
    EXPECT_TRUE(asksForLog({"record", "--seconds", "3", "one", "-x", "--unknown=7", "--verb", "two"}));
    EXPECT_FALSE(asksForLog({"record"}));
    EXPECT_FALSE(asksForLog({"record", "verbose", "--json"}));
    EXPECT_FALSE(asksForLog({"record", "--", "--verbose"}));
}

TEST_F(CommandArguments, MissingValueIsNamed) {
    EXPECT_EQ(parse({"record", "--seconds"}).fault(), "The option “--seconds” needs a value.");
}

TEST_F(CommandArguments, EveryParseStartsAfresh) {
    parse({"record", "--json", "a", "b"});
    EXPECT_EQ(parse({"record", "c"}).operands(), std::vector<std::string>{"c"});
}

} // namespace
