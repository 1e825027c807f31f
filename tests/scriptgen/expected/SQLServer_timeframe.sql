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

CREATE PROCEDURE [dbo].[usp_new] @a int, @b varchar(10) AS SELECT 1
GO

CREATE PROCEDURE [dbo].[usp_ren2] @a int, @b varchar(10) AS SELECT 1
GO

/****************************************************************
 *** End: Create objects                                      ***
 ****************************************************************/

GO

/****************************************************************
 *** Start: Update objects                                    ***
 ****************************************************************/
GO

ALTER PROCEDURE [dbo].[usp_old] @a int, @b varchar(10) AS SELECT 2
GO

ALTER PROCEDURE [dbo].[usp_later] @a int, @b varchar(10) AS SELECT 2
GO

/****************************************************************
 *** End: Update objects                                      ***
 ****************************************************************/

GO

/****************************************************************
 *** Start: Drop objects                                      ***
 ****************************************************************/
GO

IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(N'[dbo].[usp_gone]') AND OBJECTPROPERTY(id, N'IsProcedure') = 1) 
	 DROP PROCEDURE [dbo].[usp_gone]
GO

IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(N'[dbo].[usp_ren]') AND OBJECTPROPERTY(id, N'IsProcedure') = 1) 
	 DROP PROCEDURE [dbo].[usp_ren]
GO

/****************************************************************
 *** End: Drop objects                                        ***
 ****************************************************************/

GO

