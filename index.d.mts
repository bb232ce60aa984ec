// What `import ostler from 'ostler'` sees. The methods have no names of their
// own in an ECMAScript module: `import { click } from 'ostler'` fails at run time.
import ostler = require('./index.js');
export default ostler;
