// SPDX-License-Identifier: MIT
// The pages of the sample router, driven in a browser: test.mjs [PART ...]. tests/run/browser serves
// the router and runs this.
import { forms } from './forms.mjs';
import { lists } from './lists.mjs';
import { looks } from './looks.mjs';
import { pages } from './pages.mjs';
import { session, sumUp } from './session.mjs';
import { tabs } from './tabs.mjs';
import { typed } from './typed.mjs';
import { unchanged } from './unchanged.mjs';

const PARTS = { unchanged, lists, pages, forms, typed, tabs, looks };
const chosen = process.argv.length > 2 ? process.argv.slice(2) : Object.keys(PARTS);

await session(Object.assign({}, ...chosen.map(part => PARTS[part])));
process.exit(sumUp());
