export * from './promises.js';
