'use strict';

module.exports = require('./build/ostler.node');
