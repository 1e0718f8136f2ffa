// Answers of the server that come when a test wants them to.

/** A promise, and what fulfils it. */
function opened() {
  let open;
  const isOpen = new Promise((resolve) => {
    open = resolve;
  });
  return { isOpen, open };
}

/** Waits until the page has drawn what it has got so far. */
const drawn = (page) =>
  page.evaluate(
    () => new Promise((resolve) => requestAnimationFrame(() => requestAnimationFrame(resolve))),
  );

/**
 * From now on, the server gets the page's requests for `path`, and its answers wait, but for those
 * to requests whose number, from 0 on, `isHeld` refuses. Gives `asked`, which waits until an answer
 * is held; `letGo`, which lets all go, and waits until the page has drawn what it makes of them; and
 * `count`, that of the requests by a method.
 */
export async function holdAnswers(page, path, isHeld = () => true) {
  const methods = [];
  const answers = [];
  const [first, gate] = [opened(), opened()];
  const hold = async (route) => {
    const response = await route.fetch();
    first.open();
    await gate.isOpen;
    try {
      await route.fulfill({ response });
      await (await route.request().response())?.finished();
    } catch {
      // the page has dropped the request
    }
  };
  const take = (route) => {
    methods.push(route.request().method());
    if (!isHeld(methods.length - 1)) return route.continue();
    answers.push(hold(route));
    return answers.at(-1);
  };
  await page.route(path, take);
  const letGo = async () => {
    gate.open();
    await Promise.all(answers);
    await page.unroute(path, take);
    await drawn(page);
  };
  const count = (method) => methods.filter((each) => each === method).length;
  return { asked: () => first.isOpen, letGo, count };
}
