// Writes the seeds from which the fuzzers begin: small recordings in every state.
//
//   make_corpus FOLDER

#include "platform/media/aac_file_writer.h"
#include "support/file_journal.h"
#include "support/temporary_folder.h"

#include <filesystem>
#include <string>
#include <vector>

int main(int, char** argv) {
    const std::filesystem::path corpus = argv[1];
    std::filesystem::create_directories(corpus);
    const TemporaryFolder folder;
    FileJournal journal;
    {
        AacFileWriterFactory factory({}, journal);
        const auto writer = factory.create(folder / "voice.m4a", {});
        const std::vector<float> silence(48000);
        for (int second = 0; second < 2; ++second) writer->write(silence, silence);
    }
    for (std::size_t steps = 1; steps <= journal.steps(); ++steps) {
        const std::string name = "after-write-" + std::to_string(steps) + ".m4a";
        writeFile(corpus / name, journal.content(steps));
        if (steps < journal.steps() && journal.bytesOf(steps) > 0)
            writeFile(corpus / ("torn-" + name), journal.content(steps, journal.bytesOf(steps) / 2));
    }
    return 0;
}
