// A host's ECMAScript module, by the package's own name. Each @ts-expect-error
// is a mistake that the declarations have to catch.
import ostler, { click } from 'ostler';
import type { Point } from 'ostler';
// @ts-expect-error: the methods by name have the same parameters
click('left');

const picture: Buffer | null = ostler.screenshot('', null, [], 800, 600, 0, 0, 0, 0, 0.8);
// @ts-expect-error: there may be no picture
picture.length;
// @ts-expect-error: without a count nothing would be clicked
ostler.click(10, 20, 'left');
// @ts-expect-error: a text is no number
ostler.type(5);
// @ts-expect-error: the callback gets no arguments
ostler.lock((key: string) => key);

const { width, height }: ostler.DisplaySize = ostler.display();
const corner: Point = { x: width - 1, y: height - 1 };
ostler.drag(0, 0, corner.x, corner.y);
export const locked: boolean = ostler.lock(() => ostler.unlock());
