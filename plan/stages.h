// SPDX-License-Identifier: MIT
/* The stages of a transition, as they are written. Private to this room. */
#ifndef PLAN_STAGES_H
#define PLAN_STAGES_H

#include "../store/text_stream.h"
#include "batch.h"

/* Must stay where it is until end_stage. */
struct stage_writer {
	list<stage> *stages; // where they go
	const char *device;
	unsigned major;      // of the root qdisc
	bool is_open;
	stage_program program; // of the stage that is open
	text_stream input;
};

/* Where lines of tc go: into the stage that is open, or a new one behind one of another program. */
batch write_tc(stage_writer *it);

/* Where input of iptables-restore goes: each into a stage of its own, which the caller ends. */
FILE *write_firewall(stage_writer *it);

void end_stage(stage_writer *it);

#endif
