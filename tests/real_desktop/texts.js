'use strict';
// Texts that have to arrive exactly wherever they are typed.

const ascii = String.fromCharCode(...Array.from({ length: 95 }, (_, i) => 32 + i));
const accented = 'ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖØÙÚÛÜÝÞßàáâãäåæçèéêëìíîïðñòóôõöøùúûüýþÿ¡¿«»€£§°ąćęłńóśźżĄĆĘŁŃŚŹŻőűŐŰčďěňřšťůž';
const sentences = [
  'ada+x@example.org, "Hi" (50%) a/b_c; isn\'t', '¿Qué pasó? ¡Mañana, niño: el pingüino!', 'Été à la forêt, où ça ? L’île, Noël !',
  'Größe: „Straße“ & ÄÖÜ? {x}@y €', 'Não, você está à toa? Ação!', 'Zażółć gęślą jaźń, ŁÓDŹ?', 'Ταχύς, ό,τι; «Άλφα» ώς',
  'Съешь ещё этих мягких булок, да №42!', 'Lächeln 😀, 中文 und ж',
];

module.exports = { accented, ascii, sentences };
