#include "platform/media/mp4_track_writer.h"

#include "base/debug_log.h"
#include "base/error.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

namespace {

constexpr std::size_t packetsPerFragment = 23; // 0.491 s at 48 kHz, the most that a killed program loses
constexpr std::uint64_t fragmentsPerMinute = 122;
constexpr std::size_t mostWaitingPackets = fragmentsPerMinute * packetsPerFragment;
constexpr int fragmentsPerSync = 2; // a disk is slower than a file system
static_assert(mostWaitingPackets <= mostPacketsInFragment);
// ISO/IEC 14496-3 allows 768 bytes for a packet of one channel; ours take 341 for both.
constexpr std::uint64_t largestFragment = fragmentHeadSize(packetsPerFragment) + packetsPerFragment * 2 * 768;

} // namespace

Mp4TrackWriter::Mp4TrackWriter(FileCalls& calls, SyncThread& disk, const std::filesystem::path& path,
                               const AacStream& stream)
    : m_disk(disk), m_track(stream), m_file(std::make_shared<OutputFile>(OutputFile::create(calls, path))) {
    try {
        writeHead();
    } catch (...) {
        m_file->remove();
        throw;
    }
}

void Mp4TrackWriter::writeHead() {
    keepRoom();
    m_file->write(fileHead(m_track.stream()), 0);
    m_file->sync();
    m_file->syncFolder();
}

/// What is closed last must have been paid for first: room for the next fragment and for the index with it.
/// Asked for a minute ahead, so that the file system has this work once a minute.
void Mp4TrackWriter::keepRoom() {
    const std::uint64_t end = m_track.end();
    const std::uint64_t needed = largestFragment + m_track.largestIndex(packetsPerFragment);
    if (m_roomEnd >= end + needed) return;
    const std::uint64_t minute = 60 * static_cast<std::uint64_t>(m_track.stream().bitRate) / 8 +
                                 fragmentsPerMinute * fragmentHeadSize(packetsPerFragment);
    const std::uint64_t wanted = needed + minute;
    if (m_file->reserve(end, wanted))
        m_roomEnd = end + wanted;
    else if (m_file->freeBytes() < 3 * wanted) // a recording is three files, and they all will want to close
        throw Error::posix(ENOSPC);
}

template <typename Step>
std::invoke_result_t<const Step&> Mp4TrackWriter::orFail(const Step& step) {
    try {
        return step();
    } catch (const Error&) {
        m_failed = true;
        throw;
    }
}

void Mp4TrackWriter::append(const AacPacket& packet) {
    if (packet.bytes.empty() || packet.bytes.size() > std::numeric_limits<std::uint16_t>::max())
        throw Error("posix", EINVAL, "The audio encoder made a packet of an impossible size.");
    m_waiting.insert(m_waiting.end(), packet.bytes.begin(), packet.bytes.end());
    m_waitingSizes.push_back(static_cast<std::uint16_t>(packet.bytes.size()));
    m_frames = packet.pts + packet.duration;
    if (m_waitingSizes.size() % packetsPerFragment != 0) return;
    orFail([this] {
        if (!cutFragment()) return;
        keepRoom();
        if (++m_unsyncedFragments < fragmentsPerSync) return;
        m_unsyncedFragments = 0;
        m_disk.sync(m_file);
    });
}

std::future<bool> Mp4TrackWriter::bringToDisk() {
    return orFail([this] {
        if (!m_waitingSizes.empty() && !cutFragment()) {
            std::promise<bool> failed;
            failed.set_value(false);
            return failed.get_future();
        }
        std::future<bool> onDisk = m_disk.syncAndAnswer(m_file);
        keepRoom();
        return onDisk;
    });
}

bool Mp4TrackWriter::cutFragment() {
    try {
        storeFragment();
        return true;
    } catch (const Error& error) {
        if (isFull(error.code()) || m_waitingSizes.size() >= mostWaitingPackets) throw;
        if (m_waitingSizes.size() == packetsPerFragment)
            DebugLog::log("[rec] writing " + m_file->path().filename().string() +
                          " failed, trying again twice a second: " + error.printed());
        m_roomEnd = 0; // goes with what is cut off
        m_file->tryTruncate(m_track.end());
        return false;
    }
}

/// With a single call: the file system sees a fragment whole or not at all, but for the moments that it
/// picks.
void Mp4TrackWriter::storeFragment() {
    std::vector<std::uint8_t> fragment = m_track.nextFragmentHead(m_waitingSizes);
    fragment.insert(fragment.end(), m_waiting.begin(), m_waiting.end());
    m_file->write(fragment, m_track.end());
    m_track.addFragment(m_waitingSizes);
    m_waiting.clear();
    m_waitingSizes.clear();
}

std::uint64_t Mp4TrackWriter::storedFrames() const {
    return std::min(m_track.wholeFrames(), static_cast<std::uint64_t>(std::max<std::int64_t>(m_frames, 0)));
}

void Mp4TrackWriter::finish() {
    std::optional<Error> lost; // what came in and is not in the file, or the way it should be closed
    try {
        if (!m_failed && !m_waitingSizes.empty()) storeFragment();
    } catch (const Error& error) {
        lost = error;
    }
    try {
        m_track.close(*m_file, storedFrames());
    } catch (const Error& error) {
        lost = error;
    }
    m_disk.syncAndClose(std::exchange(m_file, nullptr));
    if (lost) throw Error(*lost);
}
