// Which frames are missing among those that exist.

const MOST = 100_000; // frames in which gaps are looked for

// Numbers in a row without one that exists between them, each a gap. `numbers` ascend, as do those `wanted`; where it isn't
// known which are, they are those between the others, in the smallest step that these have.
export function gapsIn(numbers, wanted) {
  const there = new Set(numbers);
  const expected = wanted.length > 1 ? wanted : between(numbers);
  const gaps = [];
  let at = 0;
  let open = null;
  for (const number of expected) {
    const before = at;
    while (at < numbers.length && numbers[at] < number) ++at;
    if (there.has(number)) open = null;
    else if (open && at === before) open.push(number);
    else gaps.push((open = [number]));
  }
  return gaps;
}

function between(numbers) {
  const steps = numbers.slice(1).map((number, index) => number - numbers[index]);
  const step = Math.min(...steps);
  const count = numbers.length > 2 ? Math.floor((numbers.at(-1) - numbers[0]) / step) + 1 : 0;
  return count <= MOST ? Array.from({ length: count }, (_, index) => numbers[0] + index * step) : [];
}
