// What a deletion into the recycle bin did not put there.
import type { Outcome, Plan } from './plan';

// The bytes that should have gone into the bin but were deleted permanently. Not known, and so 0, where some
// items were to be deleted permanently anyway: the answers only have the sum.
export const missedBin = (plan: Pick<Plan, 'noBin'>, outcome: Pick<Outcome, 'bytes' | 'binned'>): number =>
  plan.noBin.length > 0 ? 0 : Math.max(0, outcome.bytes - outcome.binned);
