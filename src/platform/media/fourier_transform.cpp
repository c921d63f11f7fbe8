#include "platform/media/fourier_transform.h"

#include <algorithm>

extern "C" {
#include <libavutil/mem.h>
#include <libavutil/tx.h>
}

void FourierTransform::FreeMemory::operator()(std::complex<float>* memory) const noexcept {
    av_free(memory);
}

FourierTransform::Values FourierTransform::makeValues(std::size_t length) {
    void* const memory = av_calloc(length, sizeof(std::complex<float>));
    return allocated<Values>(static_cast<std::complex<float>*>(memory));
}

FourierTransform::FourierTransform(std::size_t length)
    : m_length(length), m_input(makeValues(length)), m_output(makeValues(length)) {
    AVTXContext* context = nullptr;
    const float scale = 1;
    checked(av_tx_init(&context, &m_run, AV_TX_FLOAT_FFT, 0, static_cast<int>(length), &scale, 0),
            "Fourier transform");
    m_context.reset(context);
}

void FourierTransform::operator()(std::span<std::complex<float>> values) {
    std::copy(values.begin(), values.end(), m_input.get());
    m_run(m_context.get(), m_output.get(), m_input.get(), sizeof(std::complex<float>));
    std::copy_n(m_output.get(), m_length, values.begin());
}
