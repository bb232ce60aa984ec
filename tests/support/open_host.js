'use strict';
// A host that opens a desktop and remembers the permission.

require('../../lib/promises').openDesktop({ remember: true });
