// Resolves when the document has not changed for three frames in a row.
export const settled = (tab) => tab.evaluate(() => new Promise((resolve) => {
  let quiet = 0;
  const observer = new MutationObserver(() => { quiet = 0; });
  observer.observe(document, { subtree: true, childList: true, attributes: true, characterData: true });
  const frame = () => {
    if (++quiet <= 3) return void requestAnimationFrame(frame);
    observer.disconnect();
    resolve();
  };
  requestAnimationFrame(frame);
}));
