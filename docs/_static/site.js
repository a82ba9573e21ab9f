// SPDX-License-Identifier: Apache-2.0
// What scrolls sideways can be reached and scrolled by the keyboard.
const observer = new ResizeObserver((entries) => {
  for (const { target } of entries) {
    if (target.scrollWidth > target.clientWidth) target.tabIndex = 0;
    else target.removeAttribute("tabindex");
  }
});
addEventListener("load", () => {
  for (const region of document.querySelectorAll("pre, .table-wrapper, div.math")) observer.observe(region);
});
