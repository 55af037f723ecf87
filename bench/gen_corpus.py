#!/usr/bin/env python3
"""Writes a benchmark blog as JSON Lines for `quillfen post add --jsonl`.

    bench/gen_corpus.py N [OUT]       (OUT "-" or missing: standard output)

N posts dated over five years (2021-2025, in date order), each in 1-3 of 20
categories with 1-5 of 200 tags, a body of about 300 words in HTML with a few
links and bold words, a summary on one post in five, and one post in ten a
draft. The seed is fixed, so the same N always gives the same bytes.
"""

import datetime
import json
import random
import sys

SEED = 20260101

CATEGORIES = [
    "Travel", "Cooking", "Baking", "Gardening", "Hiking", "Cycling", "Books", "Music",
    "Photography", "Markets", "Coffee", "Tea", "Coast", "Mountains", "Cities", "Villages",
    "Recipes", "Notes", "Seasons", "Letters",
]

_ADJECTIVES = [
    "quiet", "salty", "early", "late", "rainy", "sunny", "green", "golden", "slow", "wild",
    "small", "northern", "southern", "old", "fresh", "smoky", "sweet", "bitter", "long", "hidden",
]
_NOUNS = ["harbour", "bread", "trail", "market", "orchard", "soup", "ferry", "garden", "bridge", "kitchen"]
TAGS = [f"{a} {n}" for a in _ADJECTIVES for n in _NOUNS]  # 200

WORDS = (
    "the a and of to in on with from over under after before while morning evening "
    "harbour bread flour butter salt pepper garlic lemon olive tomato basil onion road "
    "train ferry bus walk climb river valley hill coast village market square bakery "
    "kitchen oven pan knife table window light rain wind sun cloud stone wood smoke "
    "quiet slow warm cold bright dark sweet bitter fresh old new small long short "
    "found made baked walked watched waited cooked tasted crossed carried opened "
    "we they she he friends neighbours stranger fisherman baker cook farmer child "
    "slowly early late again always never sometimes perhaps almost nearly simply"
).split()

START = datetime.datetime(2021, 1, 1)
SPAN_SECONDS = 5 * 365 * 24 * 3600


def sentence(rng, words):
    text = " ".join(rng.choices(WORDS, k=words))
    return text[0].upper() + text[1:] + "."


def paragraph(rng, words):
    parts = []
    left = words
    while left > 0:
        n = min(left, rng.randint(8, 16))
        parts.append(sentence(rng, n))
        left -= n
    text = " ".join(parts)
    words_in = text.split(" ")
    if rng.random() < 0.5:
        i = rng.randrange(len(words_in) - 2)
        words_in[i] = "<strong>" + words_in[i]
        words_in[i + 1] = words_in[i + 1] + "</strong>"
    if rng.random() < 0.4:
        i = rng.randrange(len(words_in) - 2)
        slug = rng.choice(WORDS)
        words_in[i] = f'<a href="https://example.org/{slug}/{rng.randrange(1000)}">' + words_in[i]
        words_in[i + 1] = words_in[i + 1] + "</a>"
    return "<p>" + " ".join(words_in) + "</p>"


def post(rng, index, count):
    # Evenly spread over the span with some jitter, so the file is in date order.
    seconds = int(SPAN_SECONDS * (index + rng.random()) / count)
    date = START + datetime.timedelta(seconds=seconds)
    body = "\n".join(paragraph(rng, 60) for _ in range(5))
    record = {
        "title": sentence(rng, rng.randint(3, 7))[:-1],
        "date": date.strftime("%Y-%m-%dT%H:%M:%S"),
        "categories": rng.sample(CATEGORIES, rng.randint(1, 3)),
        "tags": rng.sample(TAGS, rng.randint(1, 5)),
        "format": "html",
        "body": body,
    }
    if rng.random() < 0.2:
        record["summary"] = "<p>" + sentence(rng, 20) + "</p>"
    if rng.random() < 0.1:
        record["draft"] = True
    return json.dumps(record, ensure_ascii=False)


def main(argv):
    if len(argv) not in (2, 3) or not argv[1].isdigit():
        sys.stderr.write(__doc__)
        return 2
    count = int(argv[1])
    out = sys.stdout if len(argv) == 2 or argv[2] == "-" else open(argv[2], "w", encoding="utf-8")
    rng = random.Random(SEED)
    with out:
        for index in range(count):
            out.write(post(rng, index, count))
            out.write("\n")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
