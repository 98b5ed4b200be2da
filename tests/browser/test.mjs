// The pages of the sample router, driven in a browser. tests/run/browser serves the router and runs
// this.
import { pages } from './pages.mjs';
import { session, sumUp } from './session.mjs';

await session(pages);
process.exit(sumUp());
