#!/usr/bin/env node
'use strict';

require('../lib/command/main').main(process.argv.slice(2));
