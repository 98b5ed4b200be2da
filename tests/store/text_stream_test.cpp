// SPDX-License-Identifier: MIT
/* Texts taken in memory. That memory runs short is tested where stores are written. */
#include "../../store/text_stream.h"

#include "../support/router_files.h"

static std::string taken(const std::string &text, size_t piece)
{
	text_stream it;
	EXPECT_TRUE(open_text_stream(&it));
	for (size_t at = 0; at < text.size(); at += piece)
		fwrite(text.data() + at, 1, std::min(piece, text.size() - at), it.stream);
	EXPECT_TRUE(close_text_stream(&it));
	EXPECT_EQ(it.text[it.size], '\0');
	std::string all(it.text, it.size);
	free(it.text);
	return all;
}

TEST(text_stream, takes_every_byte_in_pieces_of_any_size)
{
	std::string text;
	for (int i = 0; i < 100000; i++)
		text += static_cast<char>(i % 251);
	const size_t pieces[] = { 1, 7, 4096, 65536, 100000 };
	for (size_t piece : pieces)
		EXPECT_EQ(taken(text, piece), text) << piece;
	EXPECT_EQ(taken("", 1), "");
	EXPECT_EQ(taken(std::string("a\0b", 3), 3), std::string("a\0b", 3));
}

TEST(text_stream, shows_what_it_took_after_a_flush)
{
	text_stream it;
	ASSERT_TRUE(open_text_stream(&it));
	fprintf(it.stream, "one");
	fflush(it.stream);
	EXPECT_EQ(std::string(it.text, it.size), "one");
	fprintf(it.stream, " two");
	ASSERT_TRUE(close_text_stream(&it));
	EXPECT_STREQ(it.text, "one two");
	free(it.text);
}
