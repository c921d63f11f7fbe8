#!/usr/bin/env python3
"""Writes speech models that are just large enough to hear three vowels, one folder for each kind of model.

Usage: make_toy_models.py FOLDER

A low vowel (formant around 500 Hz) is "Hel", a middle one (1200 Hz) "lo" and a high one (2800 Hz) "there.", so that
the three in a row are heard as "Hello there." The models have the inputs, outputs and metadata of the real ones, and
no weights but the filters for the three bands. The format is ONNX (onnx.proto of onnx 1.12), written here field by
field, because it takes a hundred lines and spares the tests a library.
"""
import base64
import json
import pathlib
import struct
import sys

# ---- protocol buffers: the encoding of developers.google.com/protocol-buffers ------------------------------


def varint(number):
    number &= (1 << 64) - 1
    encoded = b""
    while number > 127:
        encoded += bytes([number & 127 | 128])
        number >>= 7
    return encoded + bytes([number])


def whole(field, number):
    return varint(field << 3) + varint(number)


def chunk(field, content):
    content = content.encode() if isinstance(content, str) else content
    return varint(field << 3 | 2) + varint(len(content)) + content


# ---- onnx.proto --------------------------------------------------------------------------------------------

FLOAT, INT32, INT64 = 1, 6, 7
PACKED = {FLOAT: "f", INT32: "i", INT64: "q"}


def tensor(name, kind, shape, values):
    raw = struct.pack(f"<{len(values)}{PACKED[kind]}", *values)
    return b"".join(whole(1, size) for size in shape) + whole(2, kind) + chunk(8, name) + chunk(9, raw)


def attribute(name, value):
    if isinstance(value, int):
        return chunk(1, name) + whole(3, value) + whole(20, 2)
    return chunk(1, name) + b"".join(whole(8, number) for number in value) + whole(20, 7)


def node(operator, inputs, outputs, **attributes):
    return (b"".join(chunk(1, name) for name in inputs) + b"".join(chunk(2, name) for name in outputs) +
            chunk(3, outputs[0]) + chunk(4, operator) +
            b"".join(chunk(5, attribute(name, value)) for name, value in attributes.items()))


def value(name, kind, shape):
    sizes = b"".join(chunk(1, whole(1, size) if isinstance(size, int) else chunk(2, size)) for size in shape)
    return chunk(1, name) + chunk(2, chunk(1, whole(1, kind) + chunk(2, sizes)))


def model(inputs, outputs, nodes, constants, metadata=None):
    graph = (b"".join(chunk(1, n) for n in nodes) + chunk(2, "toy") + b"".join(chunk(5, t) for t in constants) +
             b"".join(chunk(11, value(*i)) for i in inputs) + b"".join(chunk(12, value(*o)) for o in outputs))
    return (whole(1, 8) + chunk(2, "toy") + chunk(7, graph) + chunk(8, chunk(1, "") + whole(2, 13)) +
            b"".join(chunk(14, chunk(1, key) + chunk(2, str(text))) for key, text in (metadata or {}).items()))


# ---- what the toys hear ------------------------------------------------------------------------------------

BANDS = 80                                   # mel bands, of which these hold the formants:
VOWELS = [range(9, 19), range(26, 36), range(48, 58)]
PIECES = ["\u2581Hel", "lo", "\u2581there."]  # SentencePiece: U+2581 begins a word
BLANK = len(PIECES)
SUBSAMPLING = 8                              # frames of 10 ms in one frame of the encoder


def vowel_filters(columns):
    """BANDS x columns: how much louder a vowel's bands are than those of the other vowels, in nepers."""
    weights = [[0.0] * columns for _ in range(BANDS)]
    for vowel in range(len(VOWELS)):
        for other, bands in enumerate(VOWELS):
            for band in bands:
                weights[band][vowel] += (1.0 if other == vowel else -0.5) / len(bands)
    return [weight for row in weights for weight in row]


def encoder_nodes(columns):
    """(N, 80, T) to (N, T/8, columns): the vowels' scores and what blank must be beaten by."""
    nodes = [node("Transpose", ["features"], ["frames"], perm=[0, 2, 1]),
             node("Slice", ["frames", "first", "last", "axis", "step"], ["fewer"]),
             node("MatMul", ["fewer", "filters"], ["loudness"]),
             node("Add", ["loudness", "bias"], ["scores"])]
    constants = [tensor("first", INT64, [1], [SUBSAMPLING // 2]), tensor("last", INT64, [1], [1 << 31]),
                 tensor("axis", INT64, [1], [1]), tensor("step", INT64, [1], [SUBSAMPLING]),
                 tensor("filters", FLOAT, [BANDS, columns], vowel_filters(columns)),
                 tensor("bias", FLOAT, [columns], [0, 0, 0, 3.0] + [0] * (columns - 4))]
    return nodes, constants


def write_tokens(folder, pieces):
    (folder / "tokens.txt").write_text("".join(f"{piece} {number}\n" for number, piece in enumerate(pieces)))


def nemo_ctc(folder):
    nodes, constants = encoder_nodes(BLANK + 1)
    (folder / "model.int8.onnx").write_bytes(model(
        [("features", FLOAT, ["N", BANDS, "T"]), ("lengths", INT64, ["N"])],
        [("logprobs", FLOAT, ["N", "T8", BLANK + 1])],
        [*nodes, node("LogSoftmax", ["scores"], ["logprobs"], axis=-1)], constants,
        {"model_type": "EncDecHybridRNNTCTCBPEModel", "vocab_size": BLANK + 1, "subsampling_factor": SUBSAMPLING,
         "normalize_type": ""}))
    write_tokens(folder, [*PIECES, "<blk>"])


def nemo_transducer(folder):
    """A token-and-duration transducer: the decoder knows the last token, the joiner adds and tells durations."""
    hidden, durations = 4, 5
    nodes, constants = encoder_nodes(BLANK + 1)
    (folder / "encoder.int8.onnx").write_bytes(model(
        [("features", FLOAT, ["N", BANDS, "T"]), ("lengths", INT64, ["N"])],
        [("outputs", FLOAT, ["N", BLANK + 1, "T8"]), ("encoded_lengths", INT64, ["N"])],
        [*nodes, node("Transpose", ["scores"], ["outputs"], perm=[0, 2, 1]),
         node("Div", ["lengths", "step"], ["encoded_lengths"])], constants,
        {"model_type": "EncDecRNNTBPEModel", "vocab_size": BLANK, "subsampling_factor": SUBSAMPLING,
         "normalize_type": "", "pred_rnn_layers": 1, "pred_hidden": hidden, "feat_dim": BANDS,
         "url": "a toy of nvidia/parakeet-tdt"}))
    # A vowel that goes on is not told again: its own token has a score that nothing beats.
    told = [-100.0 if row == column and row != BLANK else 0.0
            for row in range(BLANK + 1) for column in range(BLANK + 1)]
    states = ("states.1", FLOAT, [1, "N", hidden]), ("states.2", FLOAT, [1, "N", hidden])
    next_states = ("next.1", FLOAT, [1, "N", hidden]), ("next.2", FLOAT, [1, "N", hidden])
    (folder / "decoder.int8.onnx").write_bytes(model(
        [("targets", INT32, ["N", "U"]), ("target_length", INT32, ["N"]), *states],
        [("outputs", FLOAT, ["N", BLANK + 1, "U"]), ("prednet_lengths", INT32, ["N"]), *next_states],
        [node("Gather", ["told", "targets"], ["rows"]),
         node("Transpose", ["rows"], ["outputs"], perm=[0, 2, 1]),
         node("Identity", ["target_length"], ["prednet_lengths"]),
         node("Identity", ["states.1"], ["next.1"]), node("Identity", ["states.2"], ["next.2"])],
        [tensor("told", FLOAT, [BLANK + 1, BLANK + 1], told)]))
    (folder / "joiner.int8.onnx").write_bytes(model(
        [("encoder_outputs", FLOAT, ["N", BLANK + 1, "T"]), ("decoder_outputs", FLOAT, ["N", BLANK + 1, "U"])],
        [("outputs", FLOAT, ["N", "T", "U", BLANK + 1 + durations])],
        [node("Add", ["encoder_outputs", "decoder_outputs"], ["sum"]),
         node("Transpose", ["sum"], ["by_frame"], perm=[0, 2, 1]),
         node("Unsqueeze", ["by_frame", "axis"], ["scores"]),
         node("Concat", ["scores", "durations"], ["outputs"], axis=3)],
        [tensor("axis", INT64, [1], [2]), tensor("durations", FLOAT, [1, 1, 1, durations], [0, 1, 0, 0, 0])]))
    write_tokens(folder, [*PIECES, "<blk>"])


def whisper(folder, attentive=False):
    """Says the same whatever it hears, but in the language that it is told: each token has one that follows it. An
    attentive one also tells for each token where in the audio it looks: at the vowels of the toy's own words."""
    words = [" Hello", " there.", " Hallo", " zusammen.", " \u3053", "\u3093\u306b", "\u3061\u306f\u3002"]
    sot, english, german, japanese, transcribe, translate, no_timestamps, no_speech, eot = range(7, 16)
    count, layers, state = eot + 1, 1, 4
    follows = {no_timestamps: eot, 0: 1, 1: eot, 2: 3, 3: eot, 4: 5, 5: 6, 6: eot}
    first = {english: 0, german: 2, japanese: 4}
    scores = [0.0] * (count * count)
    for token, following in follows.items():
        scores[token * count + following] = 10.0
    for language, word in first.items():
        scores[language * count + word] = 100.0
    cross = ("n_layer_cross_k", FLOAT, [layers, "N", "T2", state]), ("n_layer_cross_v", FLOAT, [layers, "N", "T2", state])
    (folder / "toy-encoder.int8.onnx").write_bytes(model(
        [("mel", FLOAT, ["N", BANDS, "T"])], [*cross],
        [node("Transpose", ["mel"], ["frames"], perm=[0, 2, 1]),
         node("Slice", ["frames", "first", "last", "axis", "step"], ["fewer"]),
         node("MatMul", ["fewer", "filters"], ["states"]), node("Unsqueeze", ["states", "first"], ["n_layer_cross_k"]),
         node("Identity", ["n_layer_cross_k"], ["n_layer_cross_v"])],
        [tensor("first", INT64, [1], [0]), tensor("last", INT64, [1], [1 << 31]), tensor("axis", INT64, [1], [1]),
         tensor("step", INT64, [1], [2]), tensor("filters", FLOAT, [BANDS, state], vowel_filters(state))],
        {"model_type": "whisper-toy", "n_mels": BANDS, "n_audio_ctx": 1500, "n_text_ctx": 448, "n_text_layer": layers,
         "n_text_state": state, "n_vocab": count, "sot": sot, "eot": eot, "blank_id": 0, "translate": translate,
         "transcribe": transcribe, "is_multilingual": 1, "no_timestamps": no_timestamps, "no_speech": no_speech,
         "sot_sequence": f"{sot},{english},{transcribe}", "all_language_tokens": f"{english},{german},{japanese}",
         "all_language_codes": "en,de,ja", "n_alignment_heads": 1}))
    cache = [layers, "N", 448, state]
    outputs = [("logits", FLOAT, ["N", "U", count]), ("out_k", FLOAT, cache), ("out_v", FLOAT, cache)]
    nodes = [node("Gather", ["follows", "tokens"], ["each"]), node("CumSum", ["each", "one"], ["logits"]),
             node("Identity", ["in_k"], ["out_k"]), node("Identity", ["in_v"], ["out_v"])]
    constants = [tensor("follows", FLOAT, [count, count], scores), tensor("one", INT64, [], [1])]
    if attentive:
        looks = [0.0] * (count * state)
        # What is read is where the model looked when it wrote the token that follows.
        looks[no_timestamps * state + 0] = 5.0  # " Hello": the low vowel
        looks[0 * state + 2] = 5.0              # " there.": the high one
        outputs.append(("cross_attention_weights", FLOAT, ["N", 1, "U", "T2"]))
        nodes += [node("Gather", ["looks", "tokens"], ["look"]), node("Squeeze", ["n_layer_cross_k", "axis"], ["keys"]),
                  node("Transpose", ["keys"], ["by_state"], perm=[0, 2, 1]), node("MatMul", ["look", "by_state"], ["near"]),
                  node("Softmax", ["near"], ["weights"], axis=-1),
                  node("Unsqueeze", ["weights", "head"], ["cross_attention_weights"])]
        constants += [tensor("looks", FLOAT, [count, state], looks), tensor("axis", INT64, [1], [0]),
                      tensor("head", INT64, [1], [1])]
    (folder / "toy-decoder.int8.onnx").write_bytes(model(
        [("tokens", INT64, ["N", "U"]), ("in_k", FLOAT, cache), ("in_v", FLOAT, cache), *cross, ("offset", INT64, [1])],
        outputs, nodes, constants))
    (folder / "toy-tokens.txt").write_text("".join(
        f"{base64.b64encode(word.encode()).decode()} {number}\n" for number, word in enumerate(words)))


def attentive_whisper(folder):
    whisper(folder, attentive=True)


def silero_vad(folder):
    """Speech is what is louder than -40 decibels."""
    state = [2, "N", 64]
    (folder / "silero_vad.onnx").write_bytes(model(
        [("input", FLOAT, ["N", "T"]), ("sr", INT64, []), ("h", FLOAT, state), ("c", FLOAT, state)],
        [("output", FLOAT, ["N", 1]), ("hn", FLOAT, state), ("cn", FLOAT, state)],
        [node("ReduceL2", ["input"], ["norm"], axes=[1], keepdims=1), node("Sub", ["norm", "threshold"], ["above"]),
         node("Mul", ["above", "steepness"], ["steep"]), node("Sigmoid", ["steep"], ["output"]),
         node("Identity", ["h"], ["hn"]), node("Identity", ["c"], ["cn"])],
        [tensor("threshold", FLOAT, [1], [0.01 * 512 ** 0.5]), tensor("steepness", FLOAT, [1], [100.0])]))


def main():
    for make, kind in ((nemo_ctc, "nemo_ctc"), (nemo_transducer, "nemo_transducer"), (whisper, "whisper"),
                       (attentive_whisper, "whisper"), (silero_vad, "silero_vad")):
        folder = pathlib.Path(sys.argv[1]) / make.__name__
        folder.mkdir(parents=True, exist_ok=True)
        make(folder)
        (folder / "model.json").write_text(json.dumps({"kind": kind}))


if __name__ == "__main__":
    main()
