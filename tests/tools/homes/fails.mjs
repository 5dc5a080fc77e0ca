// For the test of the homes themselves (scripts/stages.py, scripts/windows-report): of these three one must be
// reported as passed, one as failed and one as not on this home.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { home, needs } from '../../system/support/home.mjs';
import { vorda } from '../../system/support/vorda.mjs';

test('passes', async () => assert.equal((await vorda(['--help'])).code, 0));
test('fails on purpose', async () => assert.equal((await vorda(['--no-such-option'])).code, 0));
test('is left out', needs(home === 'windows' ? 'prefixes' : 'windows'), () => assert.fail('it ran'));
