// While the user presses a button, it stays under their finger: what comes meanwhile waits.
//
// Where a late answer moved or replaced the button between press and release, the browser would see
// no click at all, or one on something else.

/** In milliseconds: a browser may tell the click a moment after the release. */
const pauseUntilClick = 100;

/** In milliseconds: some lists of choices tell no release. */
const longestPress = 2000;

let isPressed = false;
let timer = 0;

/** @type {(() => void)[]} */
const waiting = [];

function letGo() {
  isPressed = false;
  for (const go of waiting.splice(0)) go();
}

/** @param {number} pause */
function letGoIn(pause) {
  clearTimeout(timer);
  timer = setTimeout(letGo, pause);
}

/** From now on, presses are known. */
export function watchPresses() {
  const press = () => {
    isPressed = true;
    letGoIn(longestPress);
  };
  addEventListener('pointerdown', press, { capture: true });
  const end = (/** @type {Event} */ { type, target }) => {
    // a text field tells its change when a press elsewhere takes the focus
    if (type !== 'change' || target instanceof HTMLSelectElement) letGoIn(pauseUntilClick);
  };
  for (const type of ['pointerup', 'pointercancel', 'change'])
    addEventListener(type, end, { capture: true });
}

/** @returns {Promise<void>} once nothing is pressed */
export const released = () =>
  isPressed ? new Promise((resolve) => waiting.push(resolve)) : Promise.resolve();
