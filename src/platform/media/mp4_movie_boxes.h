#pragma once

#include "platform/media/aac_encoder.h"
#include "platform/media/box_buffer.h"

#include <cstdint>

/// The boxes that the moov in front and the one at the end have in common (ISO/IEC 14496-12; numbers in the
/// source are its clauses). `frames` are the samples that count, `samples` those that are decoded; in front,
/// where fragments follow, both are 0.

void movieHeader(BoxBuffer& out, const AacStream& stream, std::uint64_t frames);
void trackHeader(BoxBuffer& out, std::uint64_t frames);
void editList(BoxBuffer& out, const AacStream& stream, std::uint64_t frames);
void mediaHeaders(BoxBuffer& out, const AacStream& stream, std::uint64_t samples);
void dataIsInThisFile(BoxBuffer& out);
void sampleDescription(BoxBuffer& out, const AacStream& stream);
