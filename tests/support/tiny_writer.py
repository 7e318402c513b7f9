#!/usr/bin/python3
"""Writes a model of four megabytes that the real llama-server loads, and that says one fixed sentence:

    tiny_writer.py MODEL.gguf [--endless]

Each word of the sentence is a token of its own, and the weights name for each token the one that follows it: attention
and the layers between add nothing. Whatever it is asked, it begins with the first word. --endless begins anew after the
last word, until the context is full. Needs what scripts/engines --writing has put into its cache.
"""
import argparse
import os
import pathlib
import sys

CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache")
sys.path.insert(0, str(CACHE / "tallowfern-engines/writing/gguf-py"))

import gguf  # noqa: E402
import numpy  # noqa: E402

SENTENCE = "The tiny model on this computer wrote these few words, and it means no harm."
UNKNOWN, BEGIN, END = 0, 1, 2
LAYERS, HEADS, WIDTH, INNER, CONTEXT = 2, 5, 320, 64, 32768
TEMPLATE = ("{% for message in messages %}<|{{ message.role }}|>{{ message.content }}\n{% endfor %}"
            "{% if add_generation_prompt %}<|assistant|>{% endif %}")


def vocabulary():
    kinds = gguf.TokenType
    tokens = [("<unk>", kinds.UNKNOWN), ("<s>", kinds.CONTROL), ("</s>", kinds.CONTROL)]
    tokens += [(f"<0x{byte:02X}>", kinds.BYTE) for byte in range(256)]
    words = SENTENCE.split(" ")
    assert len(set(words)) == len(words), "a word has one follower only"
    first = len(tokens)
    tokens += [("\u2581" + word, kinds.NORMAL) for word in words]
    return tokens, first


def followers(count, first, endless):
    """For each token the next one."""
    following = numpy.full(count, first)
    following[first:count - 1] = numpy.arange(first + 1, count)
    following[count - 1] = first if endless else END
    return following


def write(path, endless):
    tokens, first = vocabulary()
    count = len(tokens)
    writer = gguf.GGUFWriter(path, "llama")
    writer.add_name("Tiny Writer")
    writer.add_context_length(CONTEXT)
    writer.add_embedding_length(WIDTH)
    writer.add_block_count(LAYERS)
    writer.add_feed_forward_length(INNER)
    writer.add_head_count(HEADS)
    writer.add_head_count_kv(HEADS)
    writer.add_layer_norm_rms_eps(1e-5)
    writer.add_rope_dimension_count(WIDTH // HEADS)
    writer.add_tokenizer_model("llama")
    writer.add_token_list([text for text, _ in tokens])
    writer.add_token_scores([0.0] * count)
    writer.add_token_types([kind for _, kind in tokens])
    writer.add_bos_token_id(BEGIN)
    writer.add_eos_token_id(END)
    writer.add_unk_token_id(UNKNOWN)
    writer.add_add_space_prefix(False)
    writer.add_chat_template(TEMPLATE)

    def add(name, array):
        writer.add_tensor(name, array.astype(numpy.float32))

    embedding = numpy.eye(count, WIDTH)
    output = numpy.zeros((count, WIDTH))
    output[followers(count, first, endless), numpy.arange(count)] = 2
    add("token_embd.weight", embedding)
    add("output_norm.weight", numpy.ones(WIDTH))
    add("output.weight", output)
    for layer in range(LAYERS):
        for name in ("attn_norm", "ffn_norm"):
            add(f"blk.{layer}.{name}.weight", numpy.ones(WIDTH))
        for name in ("attn_q", "attn_k", "attn_v", "attn_output"):
            add(f"blk.{layer}.{name}.weight", numpy.zeros((WIDTH, WIDTH)))
        for name, shape in (("ffn_gate", (INNER, WIDTH)), ("ffn_up", (INNER, WIDTH)), ("ffn_down", (WIDTH, INNER))):
            add(f"blk.{layer}.{name}.weight", numpy.zeros(shape))
    writer.write_header_to_file()
    writer.write_kv_data_to_file()
    writer.write_tensors_to_file()
    writer.close()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("model", type=pathlib.Path)
    parser.add_argument("--endless", action="store_true")
    options = parser.parse_args()
    write(options.model, options.endless)


if __name__ == "__main__":
    main()
