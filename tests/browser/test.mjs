// The pages of the sample router, driven in a browser. tests/run/browser serves the router and runs
// this.
import { forms } from './forms.mjs';
import { pages } from './pages.mjs';
import { session, sumUp } from './session.mjs';
import { tabs } from './tabs.mjs';
import { typed } from './typed.mjs';
import { unchanged } from './unchanged.mjs';

await session({ ...unchanged, ...pages, ...forms, ...typed, ...tabs });
process.exit(sumUp());
