#include "platform/desktop/journal_console.h"

#include "support/temporary_folder.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <string>
#include <sys/uio.h>
#include <vector>

namespace {

using testing::UnorderedElementsAre;

struct FakeJournal {
    std::vector<std::vector<std::string>> entries;
    int result = 0;
};
FakeJournal* journal = nullptr;

} // namespace

/// In place of libsystemd's function of this name, which the linker then does not take.
extern "C" int sd_journal_sendv(const iovec* fields, int count) {
    std::vector<std::string> entry;
    entry.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        entry.emplace_back(static_cast<const char*>(fields[i].iov_base), fields[i].iov_len);
    if (journal->result == 0) journal->entries.push_back(std::move(entry));
    return journal->result;
}

namespace {

class JournalConsole : public testing::Test {
  protected:
    JournalConsole() { journal = &m_journal; }

    std::string writtenToStandardError(std::string_view message) {
        testing::internal::CaptureStderr();
        journalConsole(m_socket)(message);
        return testing::internal::GetCapturedStderr();
    }

    FakeJournal m_journal;
    TemporaryFolder m_folder;
    const std::filesystem::path m_socket = m_folder / "socket";
};

TEST_F(JournalConsole, EachMessageIsOneEntryAndNothingGoesToStandardError) {
    writeFile(m_socket, "");
    EXPECT_EQ(writtenToStandardError("[rec] 100 % of\ntwo lines"), "");
    ASSERT_EQ(m_journal.entries.size(), 1U);
    EXPECT_THAT(m_journal.entries[0], UnorderedElementsAre("MESSAGE=[rec] 100 % of\ntwo lines", "PRIORITY=6",
                                                           "SYSLOG_IDENTIFIER=murmelo"));
}

TEST_F(JournalConsole, WithoutAJournalTheMessageGoesToStandardError) {
    EXPECT_EQ(writtenToStandardError("[app] toggle"), "[app] toggle\n");
    EXPECT_THAT(m_journal.entries, testing::IsEmpty());
}

TEST_F(JournalConsole, MessageThatTheJournalDoesNotTakeGoesToStandardError) {
    writeFile(m_socket, "");
    m_journal.result = -ENOBUFS;
    EXPECT_EQ(writtenToStandardError("[app] toggle"), "[app] toggle\n");
}

} // namespace
