#include "base/error.h"
#include "platform/media/media_fixture.h"
#include "platform/media/mp4_recovery.h"
#include "support/failing_calls.h"

#include <cerrno>

namespace {

using State = RecoveredFile::State;

/// What the encoder keeps for its next packets: an unfinished frame, one that it looks ahead, its padding.
constexpr std::int64_t mostInEncoder = std::int64_t{3} * 1024;

class BringToDiskTest : public MediaTest {
  protected:
    void write(AudioFileWriter& writer, std::int64_t frames) {
        const std::vector<float> sound = noise(static_cast<std::size_t>(frames));
        writer.write(sound, sound);
    }
    static std::int64_t framesOf(const std::filesystem::path& file) { return decodedLengthOf(file).frames; }

    const std::filesystem::path file = folder / "voice.m4a";
};

TEST_F(BringToDiskTest, OpenFileHoldsEverythingButWhatTheEncoderNeeds) {
    const auto writer = createFile(file);
    std::int64_t written = 0;
    for (const std::int64_t frames : {5000, 48000, 1024, 100000, 12345}) {
        write(*writer, frames);
        written += frames;
        EXPECT_TRUE(writer->bringToDisk().get());
        EXPECT_GE(framesOf(file), written - mostInEncoder);
    }
}

TEST_F(BringToDiskTest, OpenFileKnowsHowMuchARecoveryWouldFind) {
    const auto writer = createFile(file);
    EXPECT_EQ(writer->storedFrames(), 0U);
    for (const std::int64_t frames : {5000, 48000, 1024, 100000, 12345}) {
        write(*writer, frames);
        EXPECT_EQ(static_cast<std::int64_t>(writer->storedFrames()), framesOf(file));
        EXPECT_TRUE(writer->bringToDisk().get());
        EXPECT_EQ(static_cast<std::int64_t>(writer->storedFrames()), framesOf(file));
    }
}

TEST_F(BringToDiskTest, CanBeAskedForBeforeTheFirstSoundAndTwice) {
    const auto writer = createFile(file);
    EXPECT_TRUE(writer->bringToDisk().get());
    write(*writer, 30000);
    EXPECT_TRUE(writer->bringToDisk().get());
    EXPECT_TRUE(writer->bringToDisk().get());
    EXPECT_GE(framesOf(file), 30000 - mostInEncoder);
}

TEST_F(BringToDiskTest, RecordingGoesOnAndIsAnOrdinaryFileInTheEnd) {
    const std::vector<float> sound = noise(200000);
    const auto plain = recorded("plain.m4a", sound, sound);
    {
        AacFileWriterFactory factory; // its end waits for the disk
        const auto writer = factory.create(file, {});
        for (std::size_t at = 0; at < sound.size(); at += 10000) {
            writer->write(std::span(sound).subspan(at, 10000), std::span(sound).subspan(at, 10000));
            if (at % 30000 == 0) writer->bringToDisk();
        }
    }
    EXPECT_EQ(Mp4Recovery().recoverFile(file, RecordingRecovery::Mode::mend).state, State::whole);
    EXPECT_TRUE(decodeAll(file).left == decodeAll(plain).left);
}

TEST_F(BringToDiskTest, WhatACrashLeavesIsMendedToTheLastMoment) {
    const auto writer = createFile(file);
    write(*writer, 60000);
    writer->bringToDisk().get();
    writeFile(folder / "left.m4a", contentOf(file));
    const RecoveredFile left = Mp4Recovery().recoverFile(folder / "left.m4a", RecordingRecovery::Mode::mend);
    EXPECT_EQ(left.state, State::mended);
    EXPECT_GE(left.seconds * 48000, 60000 - mostInEncoder);
}

TEST_F(BringToDiskTest, DiskThatDoesNotConfirmIsAnAnswer) {
    FailingCalls calls;
    AacFileWriterFactory factory({}, calls);
    const auto writer = factory.create(file, {});
    write(*writer, 30000);
    calls.fail("fdatasync", 0, EIO, true);
    EXPECT_FALSE(writer->bringToDisk().get());
}

TEST_F(BringToDiskTest, DiskThatFailsForTheMomentIsAnAnswerAndCostsNothing) {
    FailingCalls calls;
    AacFileWriterFactory factory({}, calls);
    auto writer = factory.create(file, {});
    write(*writer, 30000);
    calls.fail("pwrite", 0, EIO, false);
    EXPECT_FALSE(writer->bringToDisk().get());
    EXPECT_TRUE(writer->bringToDisk().get());
    EXPECT_GE(framesOf(file), 30000 - mostInEncoder);
    writer.reset();
    EXPECT_EQ(framesOf(file), 30000);
}

TEST_F(BringToDiskTest, FullDiskEndsTheFileInOrder) {
    FailingCalls calls;
    AacFileWriterFactory factory({}, calls);
    const auto writer = factory.create(file, {});
    write(*writer, 60000);
    calls.fail("pwrite", 0, ENOSPC, false);
    EXPECT_THROW(writer->bringToDisk(), Error);
    EXPECT_THROW(writer->bringToDisk(), Error);
    EXPECT_THROW(write(*writer, 10), Error);
    EXPECT_EQ(framesOf(file), framesOfFragments(2));
}

} // namespace
