// What of the page as it is shown can't be read or pressed; each thing in words.
(() => {
  const found = new Set();
  const colour = (text) => text.match(/[\d.]+/g).map(Number);
  const light = (rgb) => rgb.slice(0, 3).map((one) => one / 255).map((one) => (one <= 0.03928 ? one / 12.92 : ((one + 0.055) / 1.055) ** 2.4))
    .reduce((sum, one, at) => sum + one * [0.2126, 0.7152, 0.0722][at], 0);
  const over = ([r, g, b, a = 1], under) => [r, g, b].map((one, at) => one * a + under[at] * (1 - a));
  const around = (node) => (node ? [node, ...around(node.parentElement)] : []);
  const ground = (node) => around(node).map((one) => colour(getComputedStyle(one).backgroundColor)).reduceRight((under, one) => over(one, under), [255, 255, 255]);
  const contrast = (text, under) => {
    const [high, low] = [light(over(text, under)), light(under)].sort((a, b) => b - a);
    return (high + 0.05) / (low + 0.05);
  };
  const shown = (node) => node.checkVisibility({ checkOpacity: true, checkVisibilityCSS: true }) && node.getClientRects().length;
  const name = (node) => `${node.tagName.toLowerCase()}${node.id && `#${node.id}`} '${(node.textContent || node.placeholder || "").trim().slice(0, 30)}'`;
  const tell = (what, node) => found.add(`${what}: ${name(node)}`);

  for (const node of document.querySelectorAll("body, body *")) {
    if (!shown(node) || node.closest("option")) continue;
    if (matchMedia("(prefers-reduced-motion: reduce)").matches && node.getAnimations().length) tell("moves", node);
    const { overflowX, color, opacity, textOverflow, display } = getComputedStyle(node);
    const wide = node.scrollWidth > node.clientWidth + 1;
    if (wide && overflowX === "auto" && !node.matches(".frames")) tell("scrolls sideways", node);
    const writes = [...node.childNodes].some((one) => one.nodeType === Node.TEXT_NODE && one.textContent.trim());
    const box = node.getBoundingClientRect();
    if (writes && (box.right > innerWidth + 1 || box.left < -1)) tell("outside", node);
    if (writes && wide && display !== "inline" && overflowX !== "auto" && textOverflow !== "ellipsis" && !node.querySelector("input")) tell("cut off", node);
    if (node.disabled || node.closest(".greyed, picture-viewer")) continue;
    const faded = [...colour(color).slice(0, 3), Number(opacity)];
    if ((writes || node.matches("input, textarea")) && contrast(faded, ground(node)) < 4.5) tell("faint", node);
    if (node.placeholder && contrast(colour(getComputedStyle(node, "::placeholder").color), ground(node)) < 4.5) tell("a faint hint", node);
  }
  const controls = matchMedia("(pointer: coarse)").matches ? document.querySelectorAll("button, input, select, textarea, summary, .divider") : [];
  for (const node of [...controls].filter(shown)) {
    const { width, height } = (node.closest("label, .field") ?? node).getBoundingClientRect();
    if (width < 40 || height < 40) tell(`small, ${Math.round(width)}x${Math.round(height)}`, node);
  }
  return [...found];
})()
