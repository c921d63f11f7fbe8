#include "platform/media/mp4_boxes.h"

#include <algorithm>

namespace {

/// The descriptors of 14496-1 (7.2.2) have lengths of up to four bytes, seven bits each; four are always
/// right.
void descriptor(BoxBuffer& out, unsigned tag, std::size_t length) {
    out.u8(tag);
    for (const int shift : {21, 14, 7}) out.u8(0x80 | (length >> shift & 0x7f));
    out.u8(length & 0x7f);
}

void unityMatrix(BoxBuffer& out) {
    for (const std::uint64_t value : {0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000}) out.u32(value);
}

/// 14496-12, 8.2.2. All times of a file count samples: edits and lengths are exact. Version 1 has room for
/// more than a day of them.
void movieHeader(BoxBuffer& out, const AacStream& stream, std::uint64_t frames) {
    out.fullBox("mvhd", 1, 0, [&] {
        out.u64(0); // creation and change are the file system's to know
        out.u64(0);
        out.u32(static_cast<std::uint64_t>(stream.sampleRate));
        out.u64(frames);
        out.u32(0x10000); // normal speed
        out.u16(0x100);   // full volume
        out.zeros(10);
        unityMatrix(out);
        out.zeros(24);
        out.u32(2); // the next track's number
    });
}

void trackHeader(BoxBuffer& out, std::uint64_t frames) {
    constexpr unsigned enabledInMovieAndPreview = 7;
    out.fullBox("tkhd", 1, enabledInMovieAndPreview, [&] {
        out.u64(0);
        out.u64(0);
        out.u32(1); // track number
        out.u32(0);
        out.u64(frames);
        out.zeros(8);
        out.u16(0);
        out.u16(1);     // alternate group: of audio
        out.u16(0x100); // full volume
        out.u16(0);
        unityMatrix(out);
        out.zeros(8);
    });
}

/// 8.6.6: leaves out the encoder's padding. Length 0 means up to the end, fragments included.
void editList(BoxBuffer& out, const AacStream& stream, std::uint64_t frames) {
    out.box("edts", [&] {
        out.fullBox("elst", 1, 0, [&] {
            out.u32(1);
            out.u64(frames);
            out.u64(static_cast<std::uint64_t>(stream.initialPadding));
            out.u32(0x10000);
        });
    });
}

void mediaHeaders(BoxBuffer& out, const AacStream& stream, std::uint64_t samples) {
    out.fullBox("mdhd", 1, 0, [&] {
        out.u64(0);
        out.u64(0);
        out.u32(static_cast<std::uint64_t>(stream.sampleRate));
        out.u64(samples);
        out.u16(0x55c4); // language "und"
        out.u16(0);
    });
    out.fullBox("hdlr", 0, 0, [&] {
        out.u32(0);
        out.text("soun");
        out.zeros(12);
        out.text(std::string_view("SoundHandler\0", 13));
    });
}

void dataIsInThisFile(BoxBuffer& out) {
    out.fullBox("smhd", 0, 0, [&] { out.u32(0); });
    out.box("dinf", [&] {
        out.fullBox("dref", 0, 0, [&] {
            out.u32(1);
            out.fullBox("url ", 0, 1, [] {});
        });
    });
}

/// 14496-14, 5.6: the sample entry with the decoder's configuration.
void sampleDescription(BoxBuffer& out, const AacStream& stream) {
    const std::size_t config = stream.audioSpecificConfig.size();
    out.fullBox("stsd", 0, 0, [&] {
        out.u32(1);
        out.box("mp4a", [&] {
            out.zeros(6);
            out.u16(1); // data reference
            out.zeros(8);
            out.u16(static_cast<std::uint64_t>(stream.channels));
            out.u16(16); // bits per sample, by definition
            out.u32(0);
            out.u32(static_cast<std::uint64_t>(stream.sampleRate) << 16);
            out.fullBox("esds", 0, 0, [&] {
                descriptor(out, 0x03, 3 + 5 + 13 + 5 + config + 5 + 1); // ES_Descriptor
                out.u16(1);
                out.u8(0);
                descriptor(out, 0x04, 13 + 5 + config); // DecoderConfigDescriptor
                out.u8(0x40);                           // MPEG-4 audio
                out.u8(0x15);                           // an audio stream
                out.u24(0);
                out.u32(static_cast<std::uint64_t>(stream.bitRate));
                out.u32(static_cast<std::uint64_t>(stream.bitRate));
                descriptor(out, 0x05, config); // DecoderSpecificInfo
                out.bytes.insert(out.bytes.end(), stream.audioSpecificConfig.begin(),
                                 stream.audioSpecificConfig.end());
                descriptor(out, 0x06, 1); // SLConfigDescriptor
                out.u8(2);
            });
        });
    });
}

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

void BoxBuffer::number(std::uint64_t value, std::size_t size) {
    while (size-- > 0) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * size)));
}

void BoxBuffer::putSize(std::size_t begin, std::uint64_t following) {
    const std::uint64_t size = bytes.size() - begin + following;
    for (std::size_t i = 0; i < 4; ++i) bytes[begin + i] = static_cast<std::uint8_t>(size >> (24 - 8 * i));
}

std::uint64_t bigEndian(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t count) {
    if (at > bytes.size() || count > bytes.size() - at) return 0;
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes.subspan(at, count)) value = value << 8 | byte;
    return value;
}

std::span<const std::uint8_t> contentOfBox(std::span<const std::uint8_t> boxes,
                                           std::initializer_list<std::string_view> path) {
    for (const std::string_view wanted : path) {
        for (;;) {
            const std::uint64_t size = bigEndian(boxes, 0, 4);
            if (size < 8 || boxes.size() < 8) return {};
            const bool found = std::equal(wanted.begin(), wanted.end(), boxes.begin() + 4);
            const auto within = boxes.first(std::min<std::uint64_t>(size, boxes.size()));
            boxes = found ? within.subspan(8) : boxes.subspan(within.size());
            if (found) break;
        }
    }
    return boxes;
}

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
    const bool ours = bytes.size() >= head.size() &&
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
