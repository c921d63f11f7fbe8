#include "platform/media/mp4_movie_boxes.h"

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

} // namespace

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
