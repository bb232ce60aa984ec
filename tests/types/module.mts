// An ECMAScript module of a host. Each @ts-expect-error marks a mistake that the declarations
// have to catch.
import ostler, { click } from 'ostler';
import type { Point } from 'ostler';
// @ts-expect-error: a named export has the parameters of its method
click('left');

const picture: Buffer | null = ostler.screenshot('', null, [], 800, 600, 0, 0, 0, 0, 0.8);
// @ts-expect-error: the picture may be null
picture.length;
// @ts-expect-error: without a count nothing would be clicked
ostler.click(10, 20, 'left');
// @ts-expect-error: the text has to be a string
ostler.type(5);
// @ts-expect-error: the callback receives no arguments
ostler.lock((key: string) => key);

const { width, height }: ostler.DisplaySize = ostler.display();
const corner: Point = { x: width - 1, y: height - 1 };
ostler.drag(0, 0, corner.x, corner.y);
export const locked: boolean = ostler.lock(() => ostler.unlock());
