"""A parakeet model of a few kilobytes without any knowledge: it writes one "a" for every 80 ms of sound, whatever is said.
So the length of the text tells how much of a recording the engine has heard."""
import struct

TOKENS, STATE, HEADS, MELS, FFT, CHANNELS, KERNEL, PREDICTION, DURATIONS = 10, 8, 2, 16, 64, 4, 3, 8, 2
SUBSAMPLING = 8
A = 3  # after <unk>, <s> and </s>


def tensors():
    features = MELS // SUBSAMPLING * CHANNELS
    yield "encoder.pre_encode.out.weight", (STATE, features)
    yield "encoder.pre_encode.out.bias", (STATE,)
    for number, inputs, width in (0, 1, 3), (2, 1, 3), (3, CHANNELS, 1), (5, 1, 3), (6, CHANNELS, 1):
        yield f"encoder.pre_encode.conv.{number}.weight", (CHANNELS, inputs, width, width)
        yield f"encoder.pre_encode.conv.{number}.bias", (1, CHANNELS, 1, 1)
    layer = {f"norm_{name}.{part}": (STATE,) for part in ("weight", "bias")
             for name in ("feed_forward1", "feed_forward2", "conv", "self_att", "out")}
    for name in "feed_forward1", "feed_forward2":
        layer |= {f"{name}.linear1.weight": (4 * STATE, STATE), f"{name}.linear2.weight": (STATE, 4 * STATE)}
    layer |= {f"self_attn.linear_{name}.weight": (STATE, STATE) for name in ("q", "k", "v", "out", "pos")}
    layer |= {f"self_attn.pos_bias_{name}": (HEADS, STATE // HEADS) for name in "uv"}
    layer |= {f"conv.batch_norm.{name}": (STATE,) for name in ("weight", "bias", "running_mean", "running_var")}
    layer |= {"conv.batch_norm.num_batches_tracked": (1,), "conv.depthwise_conv.weight": (STATE, KERNEL),
              "conv.pointwise_conv1.weight": (2 * STATE, STATE), "conv.pointwise_conv2.weight": (STATE, STATE)}
    for name, shape in layer.items():
        yield f"encoder.layers.0.{name}", shape
    yield "decoder.prediction.embed.weight", (TOKENS + 1, PREDICTION)
    for name in "weight_ih", "weight_hh":
        yield f"decoder.prediction.dec_rnn.lstm.{name}_l0", (4 * PREDICTION, PREDICTION)
    yield "decoder.prediction.dec_rnn.lstm.bias_h_l0", (4 * PREDICTION,)
    yield "joint.pred.weight", (PREDICTION, PREDICTION)
    yield "joint.pred.bias", (PREDICTION,)
    yield "joint.enc.weight", (PREDICTION, STATE)
    yield "joint.enc.bias", (PREDICTION,)
    yield "joint.joint_net.2.weight", (TOKENS + DURATIONS + 1, PREDICTION)
    yield "joint.joint_net.2.bias", (TOKENS + DURATIONS + 1,)


def write(path):
    frequencies = FFT // 2 + 1
    with open(path, "wb") as file:
        file.write(struct.pack("<I15i", 0x67676D6C, TOKENS, 3200, STATE, HEADS, 1, MELS, 0, FFT, SUBSAMPLING, CHANNELS, KERNEL,
                               PREDICTION, 1, DURATIONS, 5))
        file.write(struct.pack("<ii", MELS, frequencies) + bytes(4 * MELS * frequencies))
        file.write(struct.pack("<i", FFT) + bytes(4 * FFT))
        file.write(struct.pack(f"<{DURATIONS}I", *range(DURATIONS)))
        file.write(struct.pack("<i", TOKENS))
        for token in ("<unk>", "<s>", "</s>", *"abcdefg"):
            file.write(struct.pack("<i", len(token)) + token.encode())
        for name, shape in tensors():
            count = 1
            for length in shape:
                count *= length
            values = [0.0] * count
            if name == "joint.joint_net.2.bias":
                values[A] = values[-1] = 9.0  # this letter, and then on by one step
            file.write(struct.pack("<3i", len(shape), len(name), 0) + struct.pack(f"<{len(shape)}i", *reversed(shape)))
            file.write(name.encode() + struct.pack(f"<{count}f", *values))
