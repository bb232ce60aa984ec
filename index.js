'use strict';

const { addon, error } = require('./load.js');

if (error) throw error;
module.exports = addon;
