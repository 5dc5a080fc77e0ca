// What a deletion into the recycle bin did not put there.
import type { Outcome, Plan } from './plan';

// The bytes that were to go into the bin and are gone for good. Where the plan had some of them going for
// good anyway, the answers do not tell the two apart.
export const missedBin = (plan: Pick<Plan, 'noBin'>, outcome: Pick<Outcome, 'bytes' | 'binned'>): number =>
  plan.noBin.length > 0 ? 0 : Math.max(0, outcome.bytes - outcome.binned);
