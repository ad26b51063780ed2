"""Changes for what the render helper reads: to bytes anywhere, and to values within JSON so that it stays JSON."""

import copy
import json

HOSTILE = (
    *(None, True, False, 0, -1, 1, 2**31, 2**63, 2**64, 10**19, 0.5, -1e308, 1e308),
    *("", "0", "-1", "nan", "{prompt}", "{" * 50, "\ud800", "\udfff\x1b[2J", "a\0b", "\u202e", "../..", "x" * 5000),
    *([], {}, [[]], [None], ["1", 0], ["1", -1], [1, 2, 3, 4, 5, 6], {"": {}}, [{}] * 300, [[[[[[[[]]]]]]]]),
)
NUMBERS = (b"0", b"-1", b"99999999999999999999", b"1e999", b"NaN", b"9" * 500, b"0x7f")


def changed_bytes(random, content: bytes) -> bytes:
    """`content` with one to five changes."""
    result = bytearray(content)
    for _ in range(random.randint(1, 5)):
        place = random.randint(0, len(result))
        length = random.choice((1, 1, 2, 4, 40, 4000))
        piece = bytes(result[place : place + length])
        kind = random.randrange(7)
        if kind == 0:
            result[place : place + length] = random.randbytes(len(piece))
        elif kind == 1:
            del result[place : place + length]
        elif kind == 2:
            result[place:place] = piece * random.choice((1, 2, 1000))
        elif kind == 3:
            result[place : place + 4] = random.choice((0, 1, 0x7FFFFFFF, 0xFFFFFFFF, len(result))).to_bytes(4, "big")
        elif kind == 4:
            other = random.randint(0, len(result))
            result[other:other] = piece
        elif kind == 5:
            result[place:place] = random.choice(NUMBERS)
        else:
            del result[place:]
    return bytes(result)


def changed_json(random, value):
    """A copy of `value` with one to four of the values in it replaced, taken out, doubled or put elsewhere."""
    value = copy.deepcopy(value)
    for _ in range(random.randint(1, 4)):
        places = list(_places(value))
        if not places:
            return random.choice(HOSTILE)
        holder, key = random.choice(places)
        kind = random.randrange(8)
        if kind == 0:
            del holder[key]
        elif kind == 1:
            other, there = random.choice(places)
            holder[key] = copy.deepcopy(other[there])
        elif kind == 2 and isinstance(holder, dict):
            holder[str(random.choice(HOSTILE))] = holder.pop(key)
        elif kind == 3 and isinstance(holder, list):
            holder.insert(key, copy.deepcopy(holder[key]))
        else:
            holder[key] = copy.deepcopy(random.choice(HOSTILE))
    return value


def changed(random, content: bytes) -> bytes:
    """JSON mostly as JSON, the rest as bytes."""
    if content[:1] in b"{[" and random.random() < 0.8:
        return json.dumps(changed_json(random, json.loads(content))).encode()
    return changed_bytes(random, content)


def _places(value):
    """Each value within `value`, as what holds it and where."""
    waiting = [value]
    while waiting:
        holder = waiting.pop()
        for key in list(holder) if isinstance(holder, dict) else range(len(holder)):
            yield holder, key
            if isinstance(holder[key], (dict, list)):
                waiting.append(holder[key])
