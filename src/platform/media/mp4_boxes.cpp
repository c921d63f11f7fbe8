#include "platform/media/mp4_boxes.h"

#include "platform/media/mp4_movie_boxes.h"

#include <algorithm>

namespace {

void emptyTables(BoxBuffer& out) {
    out.fullBox("stts", 0, 0, [&] { out.u32(0); });
    out.fullBox("stsc", 0, 0, [&] { out.u32(0); });
    out.fullBox("stsz", 0, 0, [&] { out.u64(0); });
    out.fullBox("stco", 0, 0, [&] { out.u32(0); });
}

/// What the packets of fragments are unless they say otherwise (8.8.3).
void fragmentDefaults(BoxBuffer& out) {
    out.box("mvex", [&] {
        out.fullBox("trex", 0, 0, [&] {
            out.u32(1); // track
            out.u32(1); // sample description
            out.u32(samplesPerPacket);
            out.u64(0);
        });
    });
}

/// Samples of all packets. Only the last one may count for less than it decodes to.
std::uint64_t trackLength(const AacStream& stream, const IndexFacts& facts) {
    if (facts.packets == 0) return 0;
    const std::uint64_t wholeEnd = facts.packets * samplesPerPacket;
    return std::clamp(facts.frames + static_cast<std::uint64_t>(stream.initialPadding),
                      wholeEnd - samplesPerPacket + 1, wholeEnd);
}

void timeToSample(BoxBuffer& out, std::uint64_t packets, std::uint64_t samples) {
    out.fullBox("stts", 0, 0, [&] {
        out.u32(packets == 0 ? 0 : packets == 1 ? 1 : 2);
        if (packets > 1) {
            out.u32(packets - 1);
            out.u32(samplesPerPacket);
        }
        if (packets > 0) {
            out.u32(1);
            out.u32(samples - (packets - 1) * samplesPerPacket);
        }
    });
}

/// 10.1: decoding from anywhere needs the packet before.
void rollDistance(BoxBuffer& out, std::uint64_t packets) {
    out.fullBox("sgpd", 1, 0, [&] {
        out.text("roll");
        out.u32(2);
        out.u32(1);
        out.u16(0xffff); // -1
    });
    out.fullBox("sbgp", 0, 0, [&] {
        out.text("roll");
        out.u32(1);
        out.u32(packets);
        out.u32(1);
    });
}

} // namespace

std::vector<std::uint8_t> openHole() {
    BoxBuffer out;
    out.box("free", [&] { out.zeros(8); });
    return out.bytes;
}

std::vector<std::uint8_t> closedHole(std::uint64_t indexOffset) {
    BoxBuffer out;
    const std::uint64_t hole = indexOffset - holeOffset;
    if (hole - 8 <= 0xffffffff) {
        out.box("free", [] {});
        out.u32(hole - 8);
        out.text("mdat");
    } else { // 4.2: size 1 announces a size of 64 bits, and both heads no longer fit
        out.u32(1);
        out.text("mdat");
        out.u64(hole);
    }
    return out.bytes;
}

std::vector<std::uint8_t> fileHead(const AacStream& stream) {
    BoxBuffer out;
    out.box("ftyp", [&] {
        out.text("M4A ");
        out.u32(512);
        out.text("M4A isomiso5mp42"); // iso5: offsets of fragments count from their moof
    });
    const std::vector<std::uint8_t> hole = openHole();
    out.bytes.insert(out.bytes.end(), hole.begin(), hole.end());
    out.box("moov", [&] {
        movieHeader(out, stream, 0);
        out.box("trak", [&] {
            trackHeader(out, 0);
            editList(out, stream, 0);
            out.box("mdia", [&] {
                mediaHeaders(out, stream, 0);
                out.box("minf", [&] {
                    dataIsInThisFile(out);
                    out.box("stbl", [&] {
                        sampleDescription(out, stream);
                        emptyTables(out);
                    });
                });
            });
        });
        fragmentDefaults(out);
    });
    return out.bytes;
}

std::optional<AacStream> streamOfHead(std::span<const std::uint8_t> bytes) {
    if (bytes.size() < holeOffset + holeSize) return std::nullopt;
    const auto afterHole = bytes.subspan(holeOffset + holeSize);
    const auto edits = contentOfBox(afterHole, {"moov", "trak", "edts", "elst"});
    const auto entries = contentOfBox(afterHole, {"moov", "trak", "mdia", "minf", "stbl", "stsd"});
    if (entries.size() < 8) return std::nullopt;
    const auto entry = contentOfBox(entries.subspan(8), {"mp4a"});
    constexpr std::size_t fieldsOfEntry = 28;
    if (entry.size() < fieldsOfEntry) return std::nullopt;
    const auto descriptors = contentOfBox(entry.subspan(fieldsOfEntry), {"esds"});
    constexpr std::size_t configAt = 35; // behind the heads of the three descriptors around it
    const std::uint64_t configSize = bigEndian(descriptors, configAt - 1, 1);
    if (descriptors.size() < configAt + configSize) return std::nullopt;
    const auto config = descriptors.subspan(configAt, configSize);

    const AacStream stream{static_cast<int>(bigEndian(entry, 24, 2)),
                           static_cast<int>(bigEndian(entry, 16, 2)),
                           static_cast<int>(bigEndian(descriptors, 26, 4)),
                           static_cast<int>(bigEndian(edits, 16, 8)),
                           {config.begin(), config.end()}};
    // Where all these came from is as good as any guess: what counts is that our head has these bytes.
    const std::vector<std::uint8_t> head = fileHead(stream);
    const bool ours = stream.sampleRate == AacEncoder::sampleRate &&
                      stream.channels == AacEncoder::channels && stream.bitRate == AacEncoder::bitRate &&
                      bytes.size() >= head.size() &&
                      std::equal(head.begin(), head.begin() + holeOffset, bytes.begin()) &&
                      std::equal(head.begin() + holeOffset + holeSize, head.end(), afterHole.begin());
    return ours ? std::optional(stream) : std::nullopt;
}

std::vector<std::uint8_t> fragmentHead(std::uint32_t sequence, std::uint64_t firstSample,
                                       std::span<const std::uint16_t> packetSizes) {
    BoxBuffer out;
    out.box("moof", [&] {
        out.fullBox("mfhd", 0, 0, [&] { out.u32(sequence); });
        out.box("traf", [&] {
            constexpr unsigned baseIsThisMoof = 0x020000;
            out.fullBox("tfhd", 0, baseIsThisMoof, [&] { out.u32(1); });
            out.fullBox("tfdt", 1, 0, [&] { out.u64(firstSample); });
            constexpr unsigned offsetAndSizes = 0x000201;
            out.fullBox("trun", 0, offsetAndSizes, [&] {
                out.u32(packetSizes.size());
                out.u32(fragmentHeadSize(packetSizes.size()));
                for (const std::uint16_t size : packetSizes) out.u32(size);
            });
        });
    });
    std::uint64_t data = 0;
    for (const std::uint16_t size : packetSizes) data += size;
    out.u32(8 + data);
    out.text("mdat");
    return out.bytes;
}

std::vector<std::uint8_t> indexHead(const AacStream& stream, const IndexFacts& facts) {
    const std::size_t offsetSize = indexOffsetSize(facts.indexOffset);
    const std::uint64_t offsets = facts.fragments * offsetSize;
    const std::uint64_t sizes = indexSizesHead(facts.packets).size() + 4 * facts.packets;
    const std::uint64_t following = offsets + sizes;
    const std::uint64_t samples = trackLength(stream, facts);
    BoxBuffer out;
    const auto tables = [&] {
        sampleDescription(out, stream);
        timeToSample(out, facts.packets, samples);
        out.fullBox("stsc", 0, 0, [&] {
            out.u32(facts.runs.size());
            for (const PacketRun& run : facts.runs) {
                out.u32(run.firstFragment + 1);
                out.u32(run.packets);
                out.u32(1); // sample description
            }
        });
        rollDistance(out, facts.packets);
        out.box(
            offsetSize == 8 ? "co64" : "stco",
            [&] {
                out.u32(0); // version and flags
                out.u32(facts.fragments);
            },
            offsets);
    };
    const auto mediaInformation = [&] {
        dataIsInThisFile(out);
        out.box("stbl", tables, following);
    };
    const auto media = [&] {
        mediaHeaders(out, stream, samples);
        out.box("minf", mediaInformation, following);
    };
    const auto track = [&] {
        trackHeader(out, facts.frames);
        editList(out, stream, facts.frames);
        out.box("mdia", media, following);
    };
    out.box(
        "moov",
        [&] {
            movieHeader(out, stream, facts.frames);
            out.box("trak", track, following);
        },
        following);
    return out.bytes;
}

std::vector<std::uint8_t> indexSizesHead(std::uint64_t packets) {
    BoxBuffer out;
    out.box(
        "stsz",
        [&] {
            out.u32(0); // version and flags
            out.u32(0); // the sizes differ
            out.u32(packets);
        },
        4 * packets);
    return out.bytes;
}

std::size_t indexOffsetSize(std::uint64_t indexOffset) {
    return indexOffset > 0xffffffff ? 8 : 4;
}
