// SPDX-License-Identifier: MIT
/* All stores as one text, and back. */
#include <errno.h>

#include "history_router.h"

static std::string bundle_of_router()
{
	return written_by([](FILE *stream) { EXPECT_TRUE(write_bundle(stream)); });
}

/* Reads the text from memory of exactly its size, so that a sanitizer sees one byte too far. */
static bundle_fault read_text(kept_files *bundle, const std::string &text)
{
	char *exact = static_cast<char *>(malloc(text.size() + text.empty()));
	memcpy(exact, text.data(), text.size());
	bundle_fault fault = read_bundle(bundle, exact, text.size());
	free(exact);
	return fault;
}

static bundle_fault fault_of(const std::string &text)
{
	kept_files bundle;
	bundle_fault fault = read_text(&bundle, text);
	if (fault == BUNDLE_WELL)
		free_kept_files(&bundle);
	return fault;
}

static void add_value(void *to, const bundle_value *row)
{
	static_cast<texts *>(to)->push_back(std::string(KINDS[row->kind].word) + " " + row->id +
					    " " + shown(row->key) + "=" + shown(row->value));
}

/* A text with its fingerprint, whoever made it. */
static std::string signed_text(const std::string &body)
{
	char print[FINGERPRINT_SIZE];
	write_fingerprint(print, add_bytes(FINGERPRINT_START, body.data(), body.size()));
	return body + print + "\n";
}

static std::string file_text(const std::string &name, const std::string &bytes)
{
	return "file " + std::to_string(bytes.size()) + " - " + std::to_string(name.size()) + " " +
	       name + "\n" + bytes + "\n";
}

TEST(write_bundle, writes_stores_and_descriptions_and_nothing_else)
{
	history_router router;
	write_file(DESCRIPTIONS + "README", "not a description");
	write_file(STORES + ".hosts", "router.lan\n");
	write_file(DESCRIPTIONS + "a.port", std::string("any\0bytes\n", 10));
	std::string body = "qos-bundle 1\nabsent 0 - 5 basic\n\n";
	body += file_text("class", read_file(STORES + "class"));
	body += file_text("desc/LAN1.policy", "fibre\n");
	body += file_text("desc/a.port", std::string("any\0bytes\n", 10));
	for (const char *kind : { "filter", "ip", "policy", "port" })
		body += file_text(kind, read_file(STORES + kind));
	EXPECT_EQ(bundle_of_router(), signed_text(body + "end "));
}

static void refuse_to_write(FILE *stream, int reason)
{
	EXPECT_FALSE(write_bundle(stream));
	EXPECT_EQ(errno, reason);
}

TEST(write_bundle, writes_nothing_when_it_cannot_write_all)
{
	history_router router;
	std::filesystem::create_directory(STORES + "basic");
	EXPECT_EQ(written_by([](FILE *stream) { refuse_to_write(stream, EINVAL); }), "");
	router.remove_store("basic");
	router.store("basic", std::string(BUNDLE_SIZE_MAX, '#'));
	EXPECT_EQ(written_by([](FILE *stream) { refuse_to_write(stream, EFBIG); }), "");
}

TEST(write_bundle, tells_when_the_stream_takes_no_more)
{
	history_router router;
	FILE *full = fopen("/dev/full", "w");
	ASSERT_NE(full, nullptr);
	refuse_to_write(full, ENOSPC);
	fclose(full);
}

TEST(read_bundle, refuses_every_flipped_bit_and_every_cut)
{
	history_router router;
	const std::string whole = bundle_of_router();
	EXPECT_EQ(fault_of(whole), BUNDLE_WELL);
	EXPECT_EQ(fault_of(whole + "\n"), BUNDLE_DAMAGED);
	EXPECT_EQ(fault_of("\n" + whole), BUNDLE_ALIEN);
	for (size_t i = 0; i < whole.size(); i++) {
		EXPECT_NE(fault_of(whole.substr(0, i)), BUNDLE_WELL) << i;
		EXPECT_NE(fault_of(whole.substr(0, i) + whole.substr(i + 1)), BUNDLE_WELL) << i;
		for (int bit = 0; bit < 8; bit++) {
			std::string flipped = whole;
			flipped[i] = static_cast<char>(flipped[i] ^ (1 << bit));
			EXPECT_NE(fault_of(flipped), BUNDLE_WELL) << i << " " << bit;
		}
	}
}

TEST(read_bundle, says_what_is_wrong)
{
	history_router router;
	const std::string whole = bundle_of_router();
	EXPECT_EQ(fault_of(""), BUNDLE_ALIEN);
	EXPECT_EQ(fault_of("\x89PNG\r\n"), BUNDLE_ALIEN);
	EXPECT_EQ(fault_of("qos-bundle 2\n"), BUNDLE_OTHER_VERSION);
	EXPECT_EQ(fault_of("qos-bundle 1\n"), BUNDLE_DAMAGED);
	EXPECT_EQ(fault_of("qos-bundle 1\r\n" + whole.substr(13)), BUNDLE_DAMAGED);
	EXPECT_EQ(fault_of("qos-bundle 10\n" + whole.substr(13)), BUNDLE_OTHER_VERSION);
	EXPECT_EQ(fault_of(std::string(BUNDLE_SIZE_MAX + 1, 'x')), BUNDLE_TOO_LONG);
}

/* Whoever makes a bundle by hand can sign it too. */
TEST(read_bundle, takes_only_what_the_router_writes)
{
	history_router router;
	const std::string first = "qos-bundle 1\n";
	const std::string basic = file_text("basic", ""), klass = file_text("class", "[a]\n");
	const std::string tail = file_text("ip", "") + file_text("policy", "") +
				 file_text("port", "");
	const std::string rest = file_text("filter", "") + tail;
	const std::string all = basic + klass + rest;
	const std::string with_nul("desc/a.port\0.port", 17);
	const std::string too_long = "desc/" + std::string(300, 'a') + ".ip";
	EXPECT_EQ(fault_of(signed_text(first + all + "end ")), BUNDLE_WELL);
	EXPECT_EQ(fault_of(signed_text(first + "absent 0 - 5 basic\n\n" + klass + rest + "end ")),
		  BUNDLE_WELL);
	EXPECT_EQ(fault_of(signed_text(first + basic + klass + file_text("desc/a.port", "x") +
				       rest + "end ")),
		  BUNDLE_WELL);
	const texts bodies = {
		first,
		first + basic + klass, // a store is missing
		first + basic + rest,
		first + klass + basic + rest, // out of order
		first + basic + basic + klass + rest,
		first + "note x\n" + all,
		first + basic + klass + "file 0 644:0:0 6 filter\n\n" + tail,
		first + "other 0 - 5 basic\n\n" + klass + rest,
		first + "absent 1 - 5 basic\nx\n" + klass + rest,
		first + "file 99999999999 - 5 basic\n\n" + klass + rest,
		first + "file 9999999999 - 5 basic\n\n" + klass + rest,
		first + "file -1 - 5 basic\n\n" + klass + rest,
		first + "file  - 5 basic\n\n" + klass + rest,
		first + "file 0 - 6 basic\n\n" + klass + rest,
		first + "file 0 - 5 basic\n" + klass + rest,
		first + basic + klass + file_text("desc/../../class", "x") + rest,
		first + basic + klass + file_text("desc/a/b.port", "x") + rest,
		first + basic + klass + file_text("desc/a.class", "x") + rest,
		first + basic + klass + file_text("desc/.port", "x") + rest,
		first + basic + klass + file_text(with_nul, "x") + rest,
		first + basic + klass + file_text(too_long, "") + rest,
		first + basic + klass + "absent 0 - 11 desc/a.port\n\n" + rest,
		first + file_text(".history/open", "x") + all,
		first + file_text("/etc/passwd", "x") + all,
	};
	for (const std::string &body : bodies)
		EXPECT_EQ(fault_of(signed_text(body + "end ")), BUNDLE_DAMAGED) << body;
}

TEST(tell_bundle_values, tells_every_value_for_the_gate)
{
	history_router router;
	router.store("class", "[a]\nA=1\nA=<2>\n[empty]\n[b]\n[a]\nB=\n");
	router.store("policy", "");
	router.store("ip", "[x\\ny]\nK\\\\=v\\n\n");
	router.remove_store("port");
	std::string text = bundle_of_router();
	kept_files bundle;
	ASSERT_EQ(read_text(&bundle, text), BUNDLE_WELL);
	texts values;
	EXPECT_TRUE(tell_bundle_values(&bundle, add_value, &values));
	EXPECT_EQ(values, (texts{ "policy LAN1 (none)=fibre\n", "class a A=1", "class a A=<2>",
				  "class a B=", "class empty (none)=(none)",
				  "class b (none)=(none)", "filter f USE=unuse",
				  "ip x\ny K\\=v\n" }));
	free_kept_files(&bundle);
}

TEST(tell_bundle, tells_what_an_import_would_change)
{
	history_router router;
	std::string text = bundle_of_router();
	kept_files bundle;
	ASSERT_EQ(read_text(&bundle, text), BUNDLE_WELL);
	texts rows;
	EXPECT_TRUE(tell_bundle(&bundle, add_row, &rows));
	EXPECT_EQ(rows, texts{});
	router.store("class", "[b]\nRATE=4\n[c]\n");
	write_file(DESCRIPTIONS + "LAN1.policy", "copper\n");
	write_file(DESCRIPTIONS + "x.ip", "x");
	EXPECT_TRUE(tell_bundle(&bundle, add_row, &rows));
	EXPECT_EQ(rows, (texts{ "policy LAN1 changed (none): copper\n -> fibre\n",
				"class b changed RATE: 4 -> 3",
				"class c removed (none): (none) -> (none)",
				"class a added RATE: (none) -> 1",
				"class a added CEIL: (none) -> 2",
				"ip x changed (none): x -> (none)" }));
	free_kept_files(&bundle);
}

TEST(import_bundle, replaces_all_and_is_a_change)
{
	history_router router;
	std::string text = bundle_of_router();
	file_map before = router.files();
	router.store("class", "[z]\n");
	router.store("basic", "[band]\n");
	router.remove_store("ip");
	write_file(DESCRIPTIONS + "x.ip", "x");
	write_file(DESCRIPTIONS + "README", "stays");
	std::filesystem::remove(DESCRIPTIONS + "LAN1.policy");
	file_map changed = router.files();

	const change_note note = { "admin", "192.168.1.7", "router", "import", "" };
	kept_files bundle;
	ASSERT_EQ(read_text(&bundle, text), BUNDLE_WELL);
	ASSERT_TRUE(import_bundle(&note, &bundle)) << strerror(errno);
	free_kept_files(&bundle);
	before["desc/README"] = "stays";
	EXPECT_EQ(router.files(), before);
	EXPECT_EQ(bundle_of_router(), text);
	EXPECT_FALSE(is_change_open());

	ASSERT_TRUE(go_back(&note, entries()[0]));
	EXPECT_EQ(router.files(), changed);
}

TEST(import_bundle, leaves_all_as_it_is_when_one_file_cannot_be_replaced)
{
	history_router router;
	std::string text = bundle_of_router();
	router.store("class", "[z]\n");
	router.remove_store("port");
	std::filesystem::create_directory(STORES + "port");
	file_map before = router.files();
	kept_files bundle;
	ASSERT_EQ(read_text(&bundle, text), BUNDLE_WELL);
	EXPECT_FALSE(import_bundle(&NOTE, &bundle));
	EXPECT_EQ(errno, EISDIR);
	free_kept_files(&bundle);
	EXPECT_EQ(router.files(), before);
	EXPECT_FALSE(is_change_open());
	EXPECT_TRUE(entries().empty());
}
