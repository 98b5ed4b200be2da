/* What the steps of one compile share: who sets it, and who reads it. */
#ifndef COMPILER_GLOBALS_H
#define COMPILER_GLOBALS_H

/* Set by do_policy (policy.cpp) before it hands a policy over. */
extern char *g_cur_dev;     // device of the policy, in device form; read by do_rule
extern int g_class_count;   // sections of the class store; bounds do_class's scan
extern int g_basic_count;   // sections of the basic store; bounds do_spq's scan

/* Set and read by do_class (class_tree.cpp): 10 for each child that the walk of this policy has
 * met, and so the minor number of the last one, unless that is the default class. */
extern int g_class_id;

/* Set to 0 by do_spq (bands.cpp) for a policy's root; nothing reads it. */
extern int g_spq_id;

/* Set and read by do_rule (rules.cpp): the next firewall mark. Never reset, so that marks are
 * unique within a run. */
extern int g_mark;

#endif
