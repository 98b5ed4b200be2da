// SPDX-License-Identifier: MIT
/* The stages of a transition, as they are written. */
#include "stages.h"

void end_stage(stage_writer *it)
{
	if (!it->is_open)
		return;
	it->is_open = false;
	if (!close_text_stream(&it->input))
		end_without_memory();
	*add_item(it->stages) = { it->program, it->input.text, it->input.size };
}

static FILE *open_stage(stage_writer *it, stage_program program)
{
	if (it->is_open && it->program == program)
		return it->input.stream;
	end_stage(it);
	if (!open_text_stream(&it->input))
		end_without_memory();
	it->is_open = true;
	it->program = program;
	return it->input.stream;
}

batch write_tc(stage_writer *it)
{
	return { open_stage(it, RUN_TC), it->device, it->major };
}

FILE *write_firewall(stage_writer *it)
{
	return open_stage(it, RUN_IPTABLES_RESTORE);
}
