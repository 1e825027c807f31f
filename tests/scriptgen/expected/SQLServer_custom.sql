/****************************************************************
 ***                                                          ***
 ***       The Script file was created using                  ***
 ***               KORVO v2.0 professional                    ***
 ***                                                          ***
 ***       Date Created:  dd.mm.yyyy hh:nn:ss                 ***
 ***                                                          ***
 ****************************************************************/


/****************************************************************
 *** Start: Create objects                                    ***
 ****************************************************************/
GO

CREATE PROCEDURE [dbo].[usp_b] @a int, @b varchar(10) AS SELECT 1
GO

CREATE VIEW [dbo].[vw_a_top] AS SELECT a FROM [dbo].[vw_b_base]
GO

CREATE VIEW [dbo].[vw_b_base] AS SELECT 1 AS a
GO

/****************************************************************
 *** End: Create objects                                      ***
 ****************************************************************/

GO

